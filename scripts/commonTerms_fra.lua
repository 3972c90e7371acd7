-- Generated from usageTypes.terms.dict.xml and auxiliaryTerms.terms.dict.xml.

usageTypes_fra = {}

usageTypes_fra.encoding = "utf-8"

local usageTypes_fra_table = {
   kUsageTypeChannelName = "Nom de la voie",
   kUsageTypeDevice = "Périphérique",
   kUsageTypeTerminalString = "Terminal",
   kUsageTypeSourceTerminal = "Terminal source",
   kUsageTypeDestinationTerminal = "Terminal de destination",
   kUsageTypeValue = "Valeur",
   kUsageTypePossibleValues = "Valeurs possibles",
   kUsageTypeAttributeIdentifier = "Propriété",
   kUsageTypeAttributeId = "ID d'attribut",
   kUsageTypeAffectedAttribute = "Attribut affecté",
   kUsageTypeConflictingAttr = "Propriétés en conflit",
   kUsageTypeConflictingProperty = "Propriété en conflit",
   kUsageTypeUnspecifiedProperty = "Propriété non spécifiée",
   kUsageTypeFilePath = "Chemin du fichier",
   kAuxTermItemSeparator = ", ",
   kAuxTermExplanationHeader = "Explication : ",
   kAuxTermSuggestionHeader = "Suggestion(s) pour l'élimination de cette erreur : ",
   kAuxTermFileNameHeader = "Nom du fichier : ",
   kAuxTermStatusCodeHeader = "Code de l'état : ",
   kAuxTermColonSpaceSeparator = ": ",
   kAuxTermTo = " à ",
   kAuxTermNone = "aucune",
   kAuxTermUnknownDevice = "Périphérique inconnu"
}

function usageTypes_fra.getString(usageType)
   return usageTypes_fra_table[usageType]
end

-- Prints a table for a look at it.
function usageTypes_fra.tprint(tbl, indent)
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

return usageTypes_fra
