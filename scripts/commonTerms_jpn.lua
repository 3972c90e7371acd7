-- Generated from usageTypes.terms.dict.xml and auxiliaryTerms.terms.dict.xml.

usageTypes_jpn = {}

usageTypes_jpn.encoding = "utf-8"

local usageTypes_jpn_table = {
   kUsageTypeChannelName = "チャンネル名",
   kUsageTypeDevice = "デバイス",
   kUsageTypeTerminalString = "端子",
   kUsageTypeSourceTerminal = "ソース端子",
   kUsageTypeDestinationTerminal = "接続先端子",
   kUsageTypeValue = "値",
   kUsageTypePossibleValues = "可能な値",
   kUsageTypeAttributeIdentifier = "プロパティ",
   kUsageTypeAttributeId = "属性ID",
   kUsageTypeAffectedAttribute = "影響される属性",
   kUsageTypeConflictingAttr = "競合しているプロパティ",
   kUsageTypeConflictingProperty = "競合しているプロパティ",
   kUsageTypeUnspecifiedProperty = "指定されていないプロパティ",
   kUsageTypeFilePath = "ファイルパス",
   kAuxTermItemSeparator = ",",
   kAuxTermExplanationHeader = "説明:",
   kAuxTermSuggestionHeader = "このエラ-を取り除くための提案:",
   kAuxTermFileNameHeader = "ファイル名:",
   kAuxTermStatusCodeHeader = "ステータスコード:",
   kAuxTermColonSpaceSeparator = ":",
   kAuxTermTo = " から",
   kAuxTermNone = "なし",
   kAuxTermUnknownDevice = "不明なデバイス"
}

function usageTypes_jpn.getString(usageType)
   return usageTypes_jpn_table[usageType]
end

-- Prints a table for a look at it.
function usageTypes_jpn.tprint(tbl, indent)
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

return usageTypes_jpn
