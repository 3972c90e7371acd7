#include "service/json_check.h"

#include <cctype>
#include <cstddef>

namespace zerova::test {

namespace {

class Reader
{
public:
   explicit Reader(std::string_view text)
      : rest_(text)
   {
   }

   bool document()
   {
      skipSpace();
      return (next() == '{' || next() == '[') && value() && (skipSpace(), rest_.empty());
   }

private:
   static constexpr int kDeepest = 256;

   char next() const { return rest_.empty() ? '\0' : rest_.front(); }

   bool take(std::string_view token)
   {
      if (!rest_.starts_with(token)) return false;
      rest_.remove_prefix(token.size());
      return true;
   }

   void skipSpace()
   {
      const std::size_t count = rest_.find_first_not_of(" \t\n\r");
      rest_.remove_prefix(count == std::string_view::npos ? rest_.size() : count);
   }

   std::size_t takeDigits()
   {
      std::size_t count = 0;
      while (std::isdigit(static_cast<unsigned char>(next()))) {
         rest_.remove_prefix(1);
         ++count;
      }
      return count;
   }

   bool number()
   {
      take("-");
      if (!take("0") && takeDigits() == 0) return false;
      if (take(".") && takeDigits() == 0) return false;
      if (!take("e") && !take("E")) return true;
      if (!take("+")) take("-");
      return takeDigits() > 0;
   }

   bool escape()
   {
      if (take("u")) {
         for (int i = 0; i < 4; ++i) {
            if (!std::isxdigit(static_cast<unsigned char>(next()))) return false;
            rest_.remove_prefix(1);
         }
         return true;
      }
      if (rest_.empty() || std::string_view("\"\\/bfnrt").find(next()) == std::string_view::npos)
         return false;
      rest_.remove_prefix(1);
      return true;
   }

   bool string()
   {
      if (!take("\"")) return false;
      while (!rest_.empty()) {
         const char c = next();
         if (static_cast<unsigned char>(c) < 0x20) return false;
         rest_.remove_prefix(1);
         if (c == '"') return true;
         if (c == '\\' && !escape()) return false;
      }
      return false;
   }

   bool member() { return string() && (skipSpace(), take(":")) && value(); }

   template <typename Element>
   bool sequence(std::string_view closing, Element element)
   {
      skipSpace();
      if (take(closing)) return true;
      do {
         skipSpace();
         if (!element()) return false;
         skipSpace();
      } while (take(","));
      return take(closing);
   }

   bool container()
   {
      if (++depth_ > kDeepest) return false;
      const bool good = take("{") ? sequence("}", [this] { return member(); })
                                  : take("[") && sequence("]", [this] { return value(); });
      --depth_;
      return good;
   }

   bool value()
   {
      skipSpace();
      switch (next()) {
      case '{':
      case '[':
         return container();
      case '"':
         return string();
      case 't':
         return take("true");
      case 'f':
         return take("false");
      case 'n':
         return take("null");
      default:
         return number();
      }
   }

   std::string_view rest_;
   int depth_ = 0;
};

} // namespace

bool isJsonDocument(std::string_view text)
{
   return Reader(text).document();
}

} // namespace zerova::test
