-- Host script: prepares a translator's state for the client module that its registration names.

local json = require("json")
require("stdint")
require("lorvexluautils")

lorvexlua_name = nil
lorvexlua_xlator = nil
lorvexlua_settings = {}

-- Message handler of the description calls.
function lorvexlua_errHandler(errorIn)
   return errorIn .. "\n" .. debug.traceback()
end

local function searchPath(folders)
   local templates = {}
   for piece in string.gmatch(folders, "[^;]+") do
      local folder = string.gsub(lorvexluautils.expandPath(lorvexlua_name, piece), "\\", "/")
      if string.sub(folder, -1) ~= "/" then
         folder = folder .. "/"
      end
      table.insert(templates, folder .. "?.lua")
   end
   return table.concat(templates, ";")
end

function lorvexlua_setupEnv(name, registrationInfo)
   local registration = json.decode(registrationInfo)
   lorvexlua_name = name
   if registration.lorvexlua_path == nil then
      package.path = ""
   else
      package.path = searchPath(registration.lorvexlua_path)
   end
   -- require finds no native module.
   package.cpath = ""
   -- In this order: the top level of a client module sees no settings yet.
   lorvexlua_xlator = require(registration.lorvexlua_xlator)
   if registration.lorvexlua_settings ~= nil then
      lorvexlua_settings = registration.lorvexlua_settings
   end
end
