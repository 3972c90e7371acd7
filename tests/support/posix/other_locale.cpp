#include "support/other_locale.h"

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <locale.h>
#include <stdexcept>

#ifdef __SANITIZE_ADDRESS__
// The C library does not give back the list of folders that it makes of LOCPATH for each search.
extern "C" const char* __lsan_default_suppressions()
{
   return "leak:argz_add_sep";
}
#endif

namespace {

struct Row
{
   const char* name;
   const char* decimalPoint;
};

// By locale; the build makes them.
constexpr Row kRows[] = {
   {"de_DE.UTF-8", ","}, {"ps_AF.UTF-8", "\u066B"}, {"tr_TR.ISO-8859-9", ","}};

locale_t makeLocale(const char* name)
{
   setenv("LOCPATH", ZEROVA_LOCALES_DIR, 1);
   const locale_t made = newlocale(LC_ALL_MASK, name, nullptr);
   if (!made)
      throw std::runtime_error(std::string("no locale ") + name + " in " ZEROVA_LOCALES_DIR);
   return made;
}

} // namespace

const char* nameOf(OtherLocale locale)
{
   const Row& row = kRows[static_cast<size_t>(locale)];
   const locale_t made = makeLocale(row.name);
   const locale_t usual = uselocale(made);
   const bool isRight = std::strcmp(std::localeconv()->decimal_point, row.decimalPoint) == 0;
   uselocale(usual);
   freelocale(made);
   if (!isRight) throw std::runtime_error(std::string("another decimal point in ") + row.name);
   return row.name;
}

ProcessLocale::ProcessLocale(OtherLocale locale)
   : usual_(std::setlocale(LC_ALL, nullptr))
{
   if (!std::setlocale(LC_ALL, nameOf(locale)))
      throw std::runtime_error(std::string("the locale cannot be set: ") + nameOf(locale));
}

ProcessLocale::~ProcessLocale()
{
   std::setlocale(LC_ALL, usual_.c_str());
}

ThreadLocale::ThreadLocale(OtherLocale locale)
   : own_(makeLocale(nameOf(locale)))
   , usual_(uselocale(static_cast<locale_t>(own_)))
{
}

ThreadLocale::~ThreadLocale()
{
   uselocale(static_cast<locale_t>(usual_));
   freelocale(static_cast<locale_t>(own_));
}
