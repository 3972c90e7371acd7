#include "support/settings_tree.h"

#include <string>
#include <system_error>

#include <windows.h>

namespace {

std::filesystem::path fromUtf8(std::string_view text)
{
   return std::u8string(text.begin(), text.end());
}

REGSAM accessTo(SettingsTree::View view)
{
   return KEY_ALL_ACCESS | (view == SettingsTree::View::native ? KEY_WOW64_64KEY : KEY_WOW64_32KEY);
}

// A key of the local machine, made if it is not there.
class Key
{
public:
   Key(SettingsTree::View view, const std::filesystem::path& path)
      : failure_(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, accessTo(view),
                                 nullptr, &key_, &outcome_))
   {
      check(failure_, path);
   }
   ~Key() { RegCloseKey(key_); }
   Key(const Key&) = delete;
   Key& operator=(const Key&) = delete;

   static void check(LSTATUS failure, const std::filesystem::path& path)
   {
      if (failure != ERROR_SUCCESS)
         throw std::system_error(failure, std::system_category(), "cannot write " + path.string());
   }

   bool isNew() const { return outcome_ == REG_CREATED_NEW_KEY; }
   HKEY get() const { return key_; }

private:
   HKEY key_ = nullptr;
   DWORD outcome_ = 0;
   LSTATUS failure_;
};

} // namespace

const std::u16string_view SettingsTree::kEndOfText(u"\0", 1);

// A key goes with its values, and only when no others are below it.
SettingsTree::~SettingsTree()
{
   for (auto made = made_.rbegin(); made != made_.rend(); ++made) {
      if (made->value.empty())
         RegDeleteKeyExW(HKEY_LOCAL_MACHINE, made->path.c_str(), accessTo(made->view), 0);
      else
         RegDeleteValueW(Key(made->view, made->path).get(), made->value.c_str());
   }
}

std::filesystem::path SettingsTree::addKey(View view, std::string_view key)
{
   std::filesystem::path soFar;
   for (const auto& name : fromUtf8(key)) {
      soFar = (soFar / name).make_preferred();
      if (Key(view, soFar).isNew()) made_.push_back({view, soFar, {}});
   }
   return soFar;
}

// A line end at the end does not belong to the text.
std::filesystem::path SettingsTree::addValue(View view, std::string_view key, std::string_view name,
                                             std::string_view content)
{
   const std::filesystem::path path = addKey(view, key);
   if (content.ends_with('\n')) content.remove_suffix(1);
   const std::filesystem::path value = fromUtf8(name);
   made_.push_back({view, path, value});
   const std::wstring text = fromUtf8(content).wstring();
   const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof text[0]);
   Key::check(RegSetValueExW(Key(view, path).get(), value.c_str(), 0, REG_SZ,
                             reinterpret_cast<const BYTE*>(text.c_str()), bytes),
              path / value);
   return path / value;
}

void SettingsTree::removeValue(View view, std::string_view key, std::string_view name)
{
   const std::filesystem::path path = fromUtf8(key).make_preferred();
   const std::filesystem::path value = fromUtf8(name);
   Key::check(RegDeleteValueW(Key(view, path).get(), value.c_str()), path / value);
}
