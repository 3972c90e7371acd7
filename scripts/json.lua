-- A JSON codec for registration texts, which people write by hand. Beyond JSON it takes block comments
-- in the manner of C between tokens, strings in single quotes, and the escapes of a Lua string in any
-- string (so \u is not one of them). A null is nil: a key with it is absent.

local json = {}

local byteAt, concat, find = string.byte, table.concat, string.find
local match, sub = string.match, string.sub

-- Beyond this the text is refused, long before the interpreter's own limit.
local maxDepth = 1000

-- Where position stands, as people count. A tab or a byte of a longer character counts as one.
local function place(text, position)
   local line, lineStart = 1, 1
   for newline in string.gmatch(sub(text, 1, position - 1), "()\n") do
      line, lineStart = line + 1, newline + 1
   end
   return string.format("line %d, character %d", line, position - lineStart + 1)
end

local function fail(text, position, message)
   error("json: " .. message .. " at " .. place(text, position), 0)
end

-- Bytes, as string.byte gives them: a comparison of numbers makes no texts.
local lineFeed, carriageReturn, quotation, apostrophe, asterisk, comma = 10, 13, 34, 39, 42, 44
local slash, colon, openBracket, closeBracket, openBrace, closeBrace = 47, 58, 91, 93, 123, 125

-- The first position at or behind the given one that is neither white space nor in a comment, and the
-- byte there, nil at the end.
local function skip(text, position)
   local first = byteAt(text, position)
   while first do
      if first == 32 or first == 9 or first == lineFeed or first == carriageReturn then
         position = find(text, "[^ \t\r\n]", position + 1) or #text + 1
      elseif first == slash and byteAt(text, position + 1) == asterisk then
         local _, close = find(text, "*/", position + 2, true)
         if not close then
            fail(text, position, "comment without an end")
         end
         position = close + 1
      else
         return position, first
      end
      first = byteAt(text, position)
   end
   return position
end

local letterEscapes = {a = "\a", b = "\b", f = "\f", n = "\n", r = "\r", t = "\t", v = "\v"}

-- Reads one escape whose backslash stands at position. Returns its text and the position behind it.
local function decodeEscape(text, position)
   local digits = match(text, "^%d%d?%d?", position + 1)
   if digits then
      if tonumber(digits) > 255 then
         fail(text, position, "escape sequence too large")
      end
      return string.char(tonumber(digits)), position + 1 + #digits
   end
   -- A line may end in either order of its two bytes, or in one of them.
   local lineEnd = match(text, "^\r\n?", position + 1) or match(text, "^\n\r?", position + 1)
   if lineEnd then
      return "\n", position + 1 + #lineEnd
   end
   local letter = sub(text, position + 1, position + 1)
   return letterEscapes[letter] or letter, position + 2
end

local function decodeString(text, start, quote)
   local special = quote == quotation and '["\\\r\n]' or "['\\\r\n]"
   local pieces, count = {}, 0
   local position = start + 1
   while true do
      local stop = find(text, special, position)
      local byte = stop and byteAt(text, stop)
      if not stop or byte == lineFeed or byte == carriageReturn then
         fail(text, start, "string without an end")
      end
      if stop > position then
         count = count + 1
         pieces[count] = sub(text, position, stop - 1)
      end
      if byte == quote then
         return concat(pieces), stop + 1
      end
      count = count + 1
      pieces[count], position = decodeEscape(text, stop)
   end
end

-- A number or a constant.
local function decodeWord(text, position)
   local word = match(text, "^[%w.+-]+", position)
   if word == "true" or word == "false" then
      return word == "true", position + #word
   elseif word == "null" then
      return nil, position + #word
   end
   local number = word and find(word, "^-?%d") and not find(word, "[xX]") and tonumber(word)
   if not number then
      fail(text, position, position > #text and "text ends where a value must stand" or "no value")
   end
   return number, position + #word
end

local decodeValue

local function decodeArray(text, position, depth)
   local array, index = {}, 0
   local byte
   position, byte = skip(text, position + 1)
   if byte == closeBracket then
      return array, position + 1
   end
   while true do
      index = index + 1
      array[index], position = decodeValue(text, position, byte, depth)
      position, byte = skip(text, position)
      if byte == closeBracket then
         return array, position + 1
      elseif byte ~= comma then
         fail(text, position, "expected ',' or ']'")
      end
      position, byte = skip(text, position + 1)
   end
end

local function decodeObject(text, position, depth)
   local object = {}
   local key, byte
   position, byte = skip(text, position + 1)
   if byte == closeBrace then
      return object, position + 1
   end
   while true do
      if byte ~= quotation and byte ~= apostrophe then
         fail(text, position, "expected a key")
      end
      key, position = decodeString(text, position, byte)
      position, byte = skip(text, position)
      if byte ~= colon then
         fail(text, position, "expected ':'")
      end
      position, byte = skip(text, position + 1)
      object[key], position = decodeValue(text, position, byte, depth)
      position, byte = skip(text, position)
      if byte == closeBrace then
         return object, position + 1
      elseif byte ~= comma then
         fail(text, position, "expected ',' or '}'")
      end
      position, byte = skip(text, position + 1)
   end
end

-- byte is the one at position. Returns the value and the position behind it.
function decodeValue(text, position, byte, depth)
   if byte == quotation or byte == apostrophe then
      return decodeString(text, position, byte)
   elseif byte ~= openBracket and byte ~= openBrace then
      return decodeWord(text, position)
   elseif depth == maxDepth then
      fail(text, position, "more than " .. maxDepth .. " levels")
   elseif byte == openBracket then
      return decodeArray(text, position, depth + 1)
   end
   return decodeObject(text, position, depth + 1)
end

-- Reads one value and ignores whatever follows it. Raises an error that tells line and character.
function json.decode(text)
   if type(text) ~= "string" then
      error("json: expected a text, got " .. type(text), 0)
   end
   local position, byte = skip(text, 1)
   return (decodeValue(text, position, byte, 0))
end

local function encodeString(text)
   local function escape(character)
      return string.format("\\u%04x", string.byte(character))
   end
   text = string.gsub(text, '[\\"]', "\\%0")
   return '"' .. string.gsub(text, "[%z\1-\31\127]", escape) .. '"'
end

-- A table whose keys are exactly 1 to n is an array; the empty table is an object.
local function arrayLength(value)
   local count = 0
   for key in pairs(value) do
      if type(key) ~= "number" then
         return nil
      end
      count = count + 1
   end
   return count > 0 and count == #value and count or nil
end

local encodeValue

local function encodeTable(value, depth)
   if depth == maxDepth then
      error("json: more than " .. maxDepth .. " levels", 0)
   end
   local pieces = {}
   local length = arrayLength(value)
   if length then
      for index = 1, length do
         pieces[index] = encodeValue(value[index], depth + 1)
      end
      return "[" .. table.concat(pieces, ",") .. "]"
   end
   for key, member in pairs(value) do
      if type(key) ~= "string" and type(key) ~= "number" then
         error("json: cannot encode a key of the type " .. type(key), 0)
      end
      table.insert(pieces, encodeString(tostring(key)) .. ":" .. encodeValue(member, depth + 1))
   end
   return "{" .. table.concat(pieces, ",") .. "}"
end

function encodeValue(value, depth)
   local kind = type(value)
   if kind == "table" then
      return encodeTable(value, depth)
   elseif kind == "string" then
      return encodeString(value)
   elseif kind == "number" and value - value == 0 then
      return string.format("%.14g", value)
   elseif kind == "boolean" or kind == "nil" then
      return value == nil and "null" or tostring(value)
   end
   error("json: cannot encode " .. tostring(value), 0)
end

function json.encode(value)
   return encodeValue(value, 0)
end

return json
