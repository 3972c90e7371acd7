-- Takes the tour in the stock interpreter: arg[1] is the library, arg[2] the service's host and
-- arg[3] the file of the native module that takes it.
local library, serviceHost, module = arg[1], arg[2], arg[3]

local function state()
   local names = {}
   for name in pairs(_G) do table.insert(names, "global " .. name) end
   for name in pairs(package.loaded) do table.insert(names, "loaded " .. name) end
   for name in pairs(package.preload) do table.insert(names, "preload " .. name) end
   table.sort(names)
   local caught = select(2, pcall(error, "caught", 0))
   return table.concat(names, "\n") .. os.setlocale() .. string.format("%.2f", 1 / 3) .. caught
end

local take = assert(package.loadlib(module, "luaopen_tour_module"))()
local before = state()
for _ = 1, 2 do
   local failure = take(library, serviceHost)
   if failure ~= "" then error(failure) end
   collectgarbage()
   if state() ~= before then error("the interpreter is not as it was:\n" .. state()) end
end
print("toured from " .. _VERSION)
