local cjson = require "cjson"

-- Support functions for trying the codec by hand, under the names of the codec's own support module. No
-- script of the translator needs them, and a translator's state, where the codec cannot be required,
-- does not load them.

local maxDepth = 50
local passed, total = 0, 0

local function isArray(value)
   local count = 0
   for key in pairs(value) do
      if type(key) ~= "number" then
         return false
      end
      count = count + 1
   end
   return count == #value
end

-- The value as a Lua expression. indent false puts it on one line.
local function serialise_value(value, indent, depth)
   indent = indent == nil and "" or indent
   depth = (depth or 0) + 1
   if value == cjson.null then
      return "json.null"
   elseif type(value) == "string" then
      return string.format("%q", value)
   elseif type(value) ~= "table" then
      local plain = type(value) == "number" or type(value) == "boolean" or value == nil
      return plain and tostring(value) or '"<' .. type(value) .. '>"'
   elseif depth > maxDepth then
      return "Cannot serialise any further: too many nested tables"
   end
   local inner = indent and indent .. "  "
   local array = isArray(value)
   local members = {}
   for key, member in (array and ipairs or pairs)(value) do
      local text = serialise_value(member, inner, depth)
      if not array then
         text = "[" .. serialise_value(key, inner, depth) .. "] = " .. text
      end
      table.insert(members, text)
   end
   local outerBreak = indent and "\n" .. indent or " "
   local innerBreak = inner and "\n" .. inner or " "
   return "{" .. innerBreak .. table.concat(members, "," .. innerBreak) .. outerBreak .. "}"
end

-- Without a name, the standard streams.
local function file_load(filename)
   local file = filename and assert(io.open(filename, "rb")) or io.stdin
   local data = file:read("*a")
   if filename then
      file:close()
   end
   return (assert(data, "nothing could be read"))
end

local function file_save(filename, data)
   local file = filename and assert(io.open(filename, "wb")) or io.stdout
   assert(file:write(data))
   if filename then
      assert(file:close())
   end
end

-- Tables are equal when their members are, and NaN equals NaN.
local function compare_values(left, right)
   if type(left) ~= "table" or type(right) ~= "table" then
      return left == right or (left ~= left and right ~= right)
   end
   for key, member in pairs(left) do
      if not compare_values(member, right[key]) then
         return false
      end
   end
   for key in pairs(right) do
      if left[key] == nil then
         return false
      end
   end
   return true
end

local function run_test_summary()
   return passed, total
end

-- Calls func with the values of input; output holds the results wanted, or the error.
local function run_test(testname, func, input, should_work, output)
   local results = {pcall(func, unpack(input))}
   local worked = table.remove(results, 1)
   local correct = worked == should_work and compare_values(results, output)
   total = total + 1
   passed = passed + (correct and 1 or 0)
   print(string.format("==> Test [%d] %s: %s", total, testname, correct and "PASS" or "FAIL"))
   print("[Input] " .. serialise_value(input, false))
   if not correct then
      print("[Expected] " .. serialise_value(output, false))
   end
   print("[Received] " .. serialise_value(results, false) .. "\n")
   return correct, results
end

-- A row without should_work prepares the rows behind it.
local function run_test_group(tests)
   for _, row in ipairs(tests) do
      if row[4] == nil then
         row[2](unpack(row[3] or {}))
      else
         run_test(unpack(row, 1, 5))
      end
   end
end

-- Runs a Lua text whose globals are the members of env, which it returns.
local function run_script(script, env)
   env = env or {}
   setfenv(assert(loadstring(script)), env)()
   return env
end

return {
   serialise_value = serialise_value,
   file_load = file_load,
   file_save = file_save,
   compare_values = compare_values,
   run_test_summary = run_test_summary,
   run_test = run_test,
   run_test_group = run_test_group,
   run_script = run_script
}
