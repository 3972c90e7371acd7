-- The attribute table that knows no attribute.

dvxl_defaultAttrTable = {encoding = "utf-8"}

function dvxl_defaultAttrTable.getAttribute(attrid)
   return nil
end

return dvxl_defaultAttrTable
