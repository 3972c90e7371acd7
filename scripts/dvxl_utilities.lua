-- The two names of a language: three letters in module names, a word for its folder of error files.

dvxl_utilities = {}

local longNames = {
   eng = "English",
   fra = "French",
   deu = "German",
   jpn = "Japanese",
   kor = "Korean",
   chs = "ChineseS"
}

local shortNames = {}
for short, long in pairs(longNames) do
   shortNames[long] = short
end

-- Stands for every unknown language and has no way back.
longNames.zzz = "Zzzzzzz"

-- Both answers stay in a global, so a name that is not known gives the answer of the call before.

function dvxl_utilities.convertLangShortToLong(shortname)
   if longNames[shortname] then
      longname = longNames[shortname]
   end
   return longname
end

function dvxl_utilities.convertLangLongToShort(longname)
   if shortNames[longname] then
      shortname = shortNames[longname]
   end
   return shortname
end

return dvxl_utilities
