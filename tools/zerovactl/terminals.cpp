#include "tools/zerovactl/commands.h"

#include <memory>
#include <type_traits>

namespace zerovactl {

namespace {

using Container = std::unique_ptr<std::remove_pointer_t<zerovaapi_TerminalContainer>,
                                  void (*)(zerovaapi_TerminalContainer)>;

// A text, a boolean, or null where the terminal has no such attribute.
Json attributeOf(zerovaapi_TerminalContainer container, zerovaapi_Iterator at,
                 const std::string& name)
{
   Status ofText;
   const char* const text =
      zerovaapi_TerminalIterator_getStringAttribute(container, at, name.c_str(), ofText.get());
   if (text) return text;
   Status ofBool;
   const bool value =
      zerovaapi_TerminalIterator_getBoolAttribute(container, at, name.c_str(), ofBool.get());
   return ofBool.code() == 0 ? Json(value) : Json(nullptr);
}

std::string cellOf(const Json& value)
{
   if (value.is_null()) return "-";
   if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
   return value.get<std::string>();
}

} // namespace

int terminals(Context& context, const TerminalsOptions& options)
{
   Session session(context.target);
   std::vector<const char*> names;
   for (const std::string& name : options.attributes)
      names.push_back(name.c_str());
   names.push_back(nullptr);
   context.output.progress("asking for the terminals of " + options.device);
   const Container container(session.call(zerovaapi_getTerminalNamesAndAttributesForDevice,
                                          options.device.c_str(), names.data()),
                             zerovaapi_TerminalContainer_destroy);
   context.output.endProgress();

   Json list = Json::array();
   std::vector<std::vector<std::string>> rows = {options.attributes};
   for (auto at = zerovaapi_TerminalContainer_begin(container.get());
        !zerovaapi_TerminalIterator_isEnd(container.get(), at);
        zerovaapi_TerminalIterator_next(&at))
   {
      Json terminal = Json::object();
      std::vector<std::string> row;
      for (const std::string& name : options.attributes) {
         terminal[name] = attributeOf(container.get(), at, name);
         row.push_back(cellOf(terminal[name]));
      }
      list.push_back(terminal);
      rows.push_back(row);
   }
   if (context.output.asJson())
      context.output.document({{"device", options.device}, {"terminals", list}});
   else
      context.output.table(rows);
   return kDone;
}

} // namespace zerovactl
