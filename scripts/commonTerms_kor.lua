-- Generated from usageTypes.terms.dict.xml and auxiliaryTerms.terms.dict.xml.

usageTypes_kor = {}

usageTypes_kor.encoding = "utf-8"

local usageTypes_kor_table = {
   kUsageTypeChannelName = "채널 이름",
   kUsageTypeDevice = "디바이스",
   kUsageTypeTerminalString = "터미널",
   kUsageTypeSourceTerminal = "소스 터미널",
   kUsageTypeDestinationTerminal = "대상 터미널",
   kUsageTypeValue = "값",
   kUsageTypePossibleValues = "가능한 값",
   kUsageTypeAttributeIdentifier = "프로퍼티",
   kUsageTypeAttributeId = "속성 ID",
   kUsageTypeAffectedAttribute = "영향받는 속성",
   kUsageTypeConflictingAttr = "충돌하는 프로퍼티",
   kUsageTypeConflictingProperty = "충돌하는 프로퍼티",
   kUsageTypeUnspecifiedProperty = "지정하지 않은 프로퍼티",
   kUsageTypeFilePath = "파일 경로",
   kAuxTermItemSeparator = ", ",
   kAuxTermExplanationHeader = "설명: ",
   kAuxTermSuggestionHeader = "이 에러를 제거하기 위한 제안: ",
   kAuxTermFileNameHeader = "파일 이름: ",
   kAuxTermStatusCodeHeader = "상태 코드: ",
   kAuxTermColonSpaceSeparator = ": ",
   kAuxTermTo = " 까지 ",
   kAuxTermNone = "없음",
   kAuxTermUnknownDevice = "알려지지 않은 디바이스"
}

function usageTypes_kor.getString(usageType)
   return usageTypes_kor_table[usageType]
end

-- Prints a table for a look at it.
function usageTypes_kor.tprint(tbl, indent)
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

return usageTypes_kor
