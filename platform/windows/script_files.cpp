#include "platform/windows/script_files.h"

#include "platform/windows/wide_text.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <io.h>

namespace {

// The texts that it is made of go with it. Null for lack of memory and for what is no UTF-8.
class WideText
{
public:
   explicit WideText(const char* text)
      : text_(platform::widePathAlloc(text, ""))
   {
   }
   ~WideText()
   {
      // The reason of a failure is still to be read.
      const int failure = errno;
      std::free(text_);
      errno = failure;
   }
   WideText(const WideText&) = delete;
   WideText& operator=(const WideText&) = delete;

   const wchar_t* get() const { return text_; }

private:
   wchar_t* const text_;
};

} // namespace

FILE* platform_openScriptFile(const char* name, const char* mode)
{
   const WideText path(name);
   const WideText wideMode(mode);
   return path.get() && wideMode.get() ? _wfopen(path.get(), wideMode.get()) : nullptr;
}

FILE* platform_reopenScriptFile(const char* name, const char* mode, FILE* file)
{
   const WideText path(name);
   const WideText wideMode(mode);
   if (path.get() && wideMode.get()) return _wfreopen(path.get(), wideMode.get(), file);
   std::fclose(file); // as it is closed when it cannot be opened anew
   return nullptr;
}

int platform_removeScriptFile(const char* name)
{
   const WideText path(name);
   return path.get() ? _wremove(path.get()) : -1;
}

int platform_renameScriptFile(const char* from, const char* to)
{
   const WideText path(from);
   const WideText target(to);
   return path.get() && target.get() ? _wrename(path.get(), target.get()) : -1;
}
