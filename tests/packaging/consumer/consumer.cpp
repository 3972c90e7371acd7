// What a program in C++ that was built on an installed library can do without a service.
#include <zerovaapi.hpp>

#include <iostream>

int main()
try {
   zerovaapi::RouteAttributes wish;
   wish.lifetime(zerovaapi::Lifetime::immediate).constraint("Line", "trigger_line1");
   zerovaapi::Translator translator(R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{}})");
   std::cout << "0 "
             << translator.details(R"({"component":"consumer"})", zerovaapi::Language::english)
             << '\n';
   return 0;
} catch (const zerovaapi::Error& error) {
   std::cout << error.code() << ' ' << error.json() << '\n';
   return 1;
}
