-- Generated from usageTypes.terms.dict.xml and auxiliaryTerms.terms.dict.xml.

usageTypes_chs = {}

usageTypes_chs.encoding = "utf-8"

local usageTypes_chs_table = {
   kUsageTypeChannelName = "通道名",
   kUsageTypeDevice = "设备",
   kUsageTypeTerminalString = "接线端",
   kUsageTypeSourceTerminal = "源端子",
   kUsageTypeDestinationTerminal = "目标端子",
   kUsageTypeValue = "值",
   kUsageTypePossibleValues = "可能的值",
   kUsageTypeAttributeIdentifier = "属性",
   kUsageTypeAttributeId = "属性ID",
   kUsageTypeAffectedAttribute = "受影响的属性：",
   kUsageTypeConflictingAttr = "冲突属性",
   kUsageTypeConflictingProperty = "冲突属性",
   kUsageTypeUnspecifiedProperty = "未指定的属性",
   kUsageTypeFilePath = "文件路径",
   kAuxTermItemSeparator = ",",
   kAuxTermExplanationHeader = "解释:",
   kAuxTermSuggestionHeader = "建议按以下方式消除该错误：",
   kAuxTermFileNameHeader = "文件名：",
   kAuxTermStatusCodeHeader = "状态代码：",
   kAuxTermColonSpaceSeparator = ":",
   kAuxTermTo = " 至",
   kAuxTermNone = "无",
   kAuxTermUnknownDevice = "未知设备"
}

function usageTypes_chs.getString(usageType)
   return usageTypes_chs_table[usageType]
end

-- Prints a table for a look at it.
function usageTypes_chs.tprint(tbl, indent)
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

return usageTypes_chs
