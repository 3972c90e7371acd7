-- Generated from usageTypes.terms.dict.xml and auxiliaryTerms.terms.dict.xml.

usageTypes_eng = {}

usageTypes_eng.encoding = "utf-8"

local usageTypes_eng_table = {
   kUsageTypeChannelName = "Channel Name",
   kUsageTypeDevice = "Device",
   kUsageTypeTerminalString = "Terminal",
   kUsageTypeSourceTerminal = "Source Terminal",
   kUsageTypeDestinationTerminal = "Destination Terminal",
   kUsageTypeValue = "Value",
   kUsageTypePossibleValues = "Possible Values",
   kUsageTypeAttributeIdentifier = "Property",
   kUsageTypeAttributeId = "Attribute Id",
   kUsageTypeAffectedAttribute = "Affected attribute",
   kUsageTypeConflictingAttr = "Conflicting Properties",
   kUsageTypeConflictingProperty = "Conflicting Property",
   kUsageTypeUnspecifiedProperty = "Unspecified Property",
   kUsageTypeFilePath = "File Path",
   kAuxTermItemSeparator = ", ",
   kAuxTermExplanationHeader = "Explanation: ",
   kAuxTermSuggestionHeader = "Suggestion(s) for Eliminating this Error: ",
   kAuxTermFileNameHeader = "File Name: ",
   kAuxTermStatusCodeHeader = "Status Code: ",
   kAuxTermColonSpaceSeparator = ": ",
   kAuxTermTo = " to ",
   kAuxTermNone = "none",
   kAuxTermUnknownDevice = "Unknown Device"
}

function usageTypes_eng.getString(usageType)
   return usageTypes_eng_table[usageType]
end

-- Prints a table for a look at it.
function usageTypes_eng.tprint(tbl, indent)
   indent = indent or 0
   for key, value in pairs(tbl) do
      local heading = string.rep("  ", indent) .. key .. ": "
      if type(value) == "table" then
         print(heading)
         tprint(value, indent + 1)
      else
         print(heading .. value)
      end
   end
end

return usageTypes_eng
