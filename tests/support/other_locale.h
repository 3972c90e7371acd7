// Locales of the C library in which numbers, letters and the order of texts are not those of "C".
//
// A program that links zerova_other_locale has them without the machine having them installed.
#ifndef TESTS_SUPPORT_OTHER_LOCALE_H
#define TESTS_SUPPORT_OTHER_LOCALE_H

#include <clocale>
#include <ostream>
#include <string>

enum class OtherLocale
{
   german,  // the decimal point is a comma
   pashto,  // it is a character of two bytes
   turkish, // it is a comma; characters are bytes, and "i" is not the small letter of "I"
};

// As setlocale takes it. Throws std::runtime_error when the locale is not what it is said to be.
const char* nameOf(OtherLocale locale);

inline void PrintTo(OtherLocale locale, std::ostream* out)
{
   *out << nameOf(locale);
}

// The locale of the process, in all categories, for as long as the object lives.
class ProcessLocale
{
public:
   explicit ProcessLocale(OtherLocale locale);
   ProcessLocale(const ProcessLocale&) = delete;
   ProcessLocale& operator=(const ProcessLocale&) = delete;
   ~ProcessLocale();

private:
   const std::string usual_;
};

// The locale of the calling thread alone, likewise.
class ThreadLocale
{
public:
   explicit ThreadLocale(OtherLocale locale);
   ThreadLocale(const ThreadLocale&) = delete;
   ThreadLocale& operator=(const ThreadLocale&) = delete;
   ~ThreadLocale();

private:
   void* const own_;
   void* const usual_;
};

#endif
