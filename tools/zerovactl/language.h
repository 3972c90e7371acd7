// The language in which failures are told.
#ifndef TOOLS_ZEROVACTL_LANGUAGE_H
#define TOOLS_ZEROVACTL_LANGUAGE_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zerovactl {

struct Language
{
   const char* folder; // of its error description files
   const char* name;   // as --lang takes it, beside the two codes
   const char* shortCode;
   const char* longCode;
   std::uint32_t codePage;
};

// In the order of lorvex_Language.
inline constexpr std::array<Language, 6> kLanguages = {{{"English", "english", "en", "eng", 1252},
                                                        {"French", "french", "fr", "fra", 1252},
                                                        {"German", "german", "de", "deu", 1252},
                                                        {"Japanese", "japanese", "ja", "jpn", 932},
                                                        {"Korean", "korean", "ko", "kor", 949},
                                                        {"ChineseS", "chinese", "zh", "chs", 936}}};

// By its name or a code, without regard to case.
std::optional<std::uint32_t> languageOf(std::string_view text);

// That of the user, else English.
std::uint32_t userLanguage();

bool equalsIgnoringCase(std::string_view left, std::string_view right);

} // namespace zerovactl

#endif
