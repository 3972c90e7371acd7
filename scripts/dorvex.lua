-- Translator script: what a status code means, and how a status JSON reads.
--
-- lang and ade are hints: an index outside its table falls back as told at each use. format is
-- required.

require("dvxl_utilities")
require("lorvexluautils")

dorvex = {}

-- Row lang + 1.
dorvex.ThreeLetterLngStrings = {"eng", "fra", "deu", "jpn", "kor", "chs"}
-- Row ade + 1; the first means that no development environment is named.
dorvex.Ades = {"none", "brask", "tolm", "fennow"}

local unsupportedFormat = -52029

-- The value of a row with one of these usages is an attribute number.
local attributeUsages = {
   kUsageTypeAttributeId = true,
   kUsageTypeAttributeIdentifier = true,
   kUsageTypeAffectedAttribute = true,
   kUsageTypeConflictingAttr = true,
   kUsageTypeConflictingProperty = true,
   kUsageTypeUnspecifiedProperty = true
}

local function threeLetterName(lang)
   return dorvex.ThreeLetterLngStrings[lang + 1] or "zzz"
end

local function tryRequire(name)
   local loaded, module = pcall(require, name)
   return loaded and module or nil
end

local function assertUtf8(module)
   assert(module.encoding == "utf-8", "Unsupported encoding")
end

-- The text of the driver's own error files in one language folder.
local function driverText(languageDir, code, lang, separator)
   error_file_dir = lorvexluautils.expandPath(lorvexlua_name, lorvexlua_settings.AuxErrorsDir)
      .. separator .. lorvexlua_settings.driverName .. separator .. languageDir
   local found, text = pcall(lorvexluautils.findErrorDescriptionFromDir, error_file_dir, code)
   if found and text then
      return lorvexluautils.mbsToUtf8(lang, text)
   end
end

local function sharedText(folder, code, lang)
   local found, text = pcall(lorvexluautils.findErrorDescriptionFromErrorsDir, folder, code, lang)
   if found and text then
      return lorvexluautils.mbsToUtf8(lang, text)
   end
end

local function tableText(lng, code)
   local strings = tryRequire("errors_" .. lng)
   if not strings and lng ~= "eng" then
      strings = tryRequire("errors_eng")
   end
   if strings then
      assertUtf8(strings)
      return strings.getString(code)
   end
end

function dorvex.getStaticDesc(code, lang, ade)
   local separator = string.sub(package.config, 1, 1)
   local lng = threeLetterName(lang)
   local languageDir = dvxl_utilities.convertLangShortToLong(lng)
   local sharedDir = lorvexluautils.expandPath(lorvexlua_name, lorvexlua_settings.trvSharedErrorsDir)
   code = dvxl_unmapErrorCode(code)

   local text = tableText(lng, code)
   if not text and lorvexlua_settings.AuxErrorsDir and lorvexlua_settings.driverName then
      text = driverText(languageDir, code, lang, separator)
      if not text and languageDir ~= "English" then
         text = driverText("English", code, 0, separator)
      end
   end
   text = text or sharedText(sharedDir, code, lang) or sharedText(sharedDir, code, 0)
   return text or "Error description not found"
end

-- Tries the driver's tables from the most to the least particular, and the empty one last.
local function loadAttributeTable(driverName, lng, ade, adeName)
   local names = {}
   if driverName and ade ~= 0 then
      table.insert(names, driverName .. "_attributes_" .. lng .. "_" .. adeName)
      if lng ~= "eng" then
         table.insert(names, driverName .. "_attributes_eng_" .. adeName)
      end
   end
   if driverName then
      table.insert(names, driverName .. "_attributes_" .. lng)
      if lng ~= "eng" then
         table.insert(names, driverName .. "_attributes_eng")
      end
   end
   table.insert(names, "dvxl_defaultAttrTable")

   attr_table = nil
   for _, name in ipairs(names) do
      attribute_table_name = name
      success, attr_table = pcall(require, name)
      if success then
         return
      end
   end
   attr_table = nil
   internal_error_string = internal_error_string .. "Cannot load " .. attribute_table_name .. "\n"
end

local function loadTerms(lng)
   common_terms_name = "commonTerms_" .. lng
   success, common_terms = pcall(require, common_terms_name)
   if not success and lng ~= "eng" then
      common_terms_name = "commonTerms_eng"
      success, common_terms = pcall(require, common_terms_name)
   end
   if not success then
      common_terms = nil
   end
end

local function term(key)
   if not common_terms then
      return key
   end
   assertUtf8(common_terms)
   return common_terms.getString(key) or key
end

-- The low 32 bits of a number's integer part, as a number that every platform's format takes. What is
-- no number stays as it is, for the format to refuse.
local function low32Bits(number)
   if not number then
      return number
   end
   local fraction = number % 1
   if fraction ~= fraction then
      return 0 -- not finite: it has no integer part
   end
   local integer = number - fraction
   if number < 0 and fraction ~= 0 then
      integer = integer + 1
   end
   return integer % 4294967296
end

local function attribute(num)
   local attrid = string.format("%08X", low32Bits(tonumber(num)))
   local found
   if attr_table then
      assertUtf8(attr_table)
      found = attr_table.getAttribute(attrid)
   end
   return found or {shortName = "0x" .. attrid, enums = {}}
end

local function plainText(value)
   if attrIDType then
      return attribute(value).shortName or tostring(value)
   end
   return tostring(value)
end

-- The value of a row: a text, or an array of texts for an array.
local function texts(value, textOf)
   if type(value) ~= "table" then
      return textOf(value)
   end
   local array = {}
   for _, element in ipairs(value) do
      table.insert(array, textOf(element))
   end
   return array
end

local function usageRow(entry)
   local row = {type = "usage", key = term(entry.usage)}
   local valueType = entry.value_type
   attrIDType = attributeUsages[entry.usage]
   if type(valueType) ~= "table" then
      row.value = texts(entry.value, plainText)
   elseif valueType.type == "enum" then
      local enums = attribute(valueType.id).enums
      row.value = texts(entry.value, function(value)
         return enums[tostring(value)] or tostring(value)
      end)
   end
   return row
end

local function textRow(entry)
   elaborationString = term(entry.usage)
   return {type = entry.type, value = elaborationString}
end

local function emptyRow()
   return {type = "empty"}
end

-- By the type of an entry; an entry of any other type is skipped.
local rowMakers = {usage = usageRow, elaboration = textRow, header = textRow, empty = emptyRow}

local function dynamicRows(info)
   local rows = {}
   if info and info.ordered_data then
      for _, entry in pairs(info.ordered_data) do
         local make = rowMakers[entry.type]
         if make then
            table.insert(rows, make(entry))
         end
      end
   end
   return rows
end

-- Takes out of input what the rows before the last one show.
local function debugRows(input)
   local rows = {}
   local function add(key, value)
      table.insert(rows, {type = "usage", key = key, value = value})
   end
   if input.component then
      add("Component", input.component)
   end
   if input.file then
      add("File", input.file)
   end
   if input.line then
      add("Line", tostring(input.line))
   end
   if internal_error_string ~= "" then
      add("internal_error_string", internal_error_string)
   end
   input.translator_info = nil
   input.component = nil
   input.file = nil
   input.line = nil
   add("rest_of_input_json", cjson.encode(input))
   return rows
end

-- The encoder writes an empty table as an object.
local function encodeRows(rows)
   if #rows == 0 then
      return "[]"
   end
   return cjson.encode(rows)
end

function dorvex.getDynamicDesc(errjson, lang, ade, format)
   if format ~= "json1" then
      return unsupportedFormat
   end
   local input = cjson.decode(errjson)
   local lng = threeLetterName(lang)
   internal_error_string = ""
   loadAttributeTable(lorvexlua_settings.driverName, lng, ade, dorvex.Ades[ade + 1])
   loadTerms(lng)
   local dynamic = encodeRows(dynamicRows(input.translator_info))
   return '{"dynamic":' .. dynamic .. ',"debug":' .. encodeRows(debugRows(input)) .. "}"
end

return dorvex
