// The C library here knows its locales by other names, and has no character of two bytes for a decimal
// point.
#include "support/other_locale.h"

#include <stdexcept>

namespace {

// By locale.
constexpr const char* kNames[] = {"German_Germany.1252", "Pashto_Afghanistan.1252",
                                  "Turkish_Turkey.1254"};

} // namespace

const char* nameOf(OtherLocale locale)
{
   return kNames[static_cast<size_t>(locale)];
}

ProcessLocale::ProcessLocale(OtherLocale locale)
   : usual_(std::setlocale(LC_ALL, nullptr))
{
   if (!std::setlocale(LC_ALL, nameOf(locale)))
      throw std::runtime_error(std::string("the locale cannot be set: ") + nameOf(locale));
   if (std::string(",") != std::localeconv()->decimal_point)
      throw std::runtime_error(std::string("another decimal point in ") + nameOf(locale));
}

ProcessLocale::~ProcessLocale()
{
   std::setlocale(LC_ALL, usual_.c_str());
}

// The locale of a thread of its own begins as that of the process.
ThreadLocale::ThreadLocale(OtherLocale locale)
   : own_(nullptr)
   , usual_(nullptr)
{
   _configthreadlocale(_ENABLE_PER_THREAD_LOCALE);
   if (!std::setlocale(LC_ALL, nameOf(locale)))
      throw std::runtime_error(std::string("the locale cannot be set: ") + nameOf(locale));
}

ThreadLocale::~ThreadLocale()
{
   std::setlocale(LC_ALL, "C");
   _configthreadlocale(_DISABLE_PER_THREAD_LOCALE);
}
