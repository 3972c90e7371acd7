-- Generated from usageTypes.terms.dict.xml and auxiliaryTerms.terms.dict.xml.

usageTypes_deu = {}

usageTypes_deu.encoding = "utf-8"

local usageTypes_deu_table = {
   kUsageTypeChannelName = "Kanalname",
   kUsageTypeDevice = "Gerät",
   kUsageTypeTerminalString = "Anschluss",
   kUsageTypeSourceTerminal = "Quellanschluss",
   kUsageTypeDestinationTerminal = "Zielanschluss",
   kUsageTypeValue = "Wert",
   kUsageTypePossibleValues = "Mögliche Werte",
   kUsageTypeAttributeIdentifier = "Eigenschaft",
   kUsageTypeAttributeId = "Attribut-ID",
   kUsageTypeAffectedAttribute = "Betroffenes Attribut",
   kUsageTypeConflictingAttr = "Widersprüchliche Eigenschaften",
   kUsageTypeConflictingProperty = "Widersprüchliche Eigenschaft",
   kUsageTypeUnspecifiedProperty = "Nicht spezifizierte Eigenschaft",
   kUsageTypeFilePath = "Dateipfad",
   kAuxTermItemSeparator = ", ",
   kAuxTermExplanationHeader = "Beschreibung: ",
   kAuxTermSuggestionHeader = "Vorschläge zum Beheben des Fehlers: ",
   kAuxTermFileNameHeader = "Dateiname: ",
   kAuxTermStatusCodeHeader = "Statuscode: ",
   kAuxTermColonSpaceSeparator = ": ",
   kAuxTermTo = " zu ",
   kAuxTermNone = "Kein",
   kAuxTermUnknownDevice = "Unbekanntes Gerät"
}

function usageTypes_deu.getString(usageType)
   return usageTypes_deu_table[usageType]
end

-- Prints a table for a look at it.
function usageTypes_deu.tprint(tbl, indent)
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

return usageTypes_deu
