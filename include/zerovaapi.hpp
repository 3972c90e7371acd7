// The client of the signal-routing service, and its translator, for C++17 and later.
//
// Header-only over zerovaapi.h and lorvex_translator.h, whose rules hold here unless this text says
// otherwise: what a call sends, how long it blocks, which codes it leaves.
//
//  1. Failure. A call has failed when its code is not 0, one above 0 no less than one below, and
//     when the result that it had to give did not come, whatever the code: a session that a service
//     refuses with a code of 0 is a failure with code 0. A failure is
//        thrown      as zerovaapi::Error, if the call is given nothing to tell it to
//        told        to a zerovaapi::Status that is the last argument of the call. While a status
//                    holds a failure of either kind, calls that are given it are not made and
//                    return their failure value: false, 0, nothing, an object that holds nothing.
//                    So one test at the end of a chain is enough; clear() makes it usable again
//        in a program that is compiled without exceptions, told alone: such a call does not compile
//     without its status.
//           zerovaapi::Status status;
//           auto session = zerovaapi::Session::local(status);
//           auto route = session.calculate("/timer1/pulse", "/digitizer3/start", status);
//           route.reserve(status).program(status);
//           if (status.failed()) ... status.code(), status.json() ...
//     A refusal with a code of 0 of a call that gives no pointer cannot be told from success.
//  2. Wrong use. A call on an object that was closed, ended or moved from, and a text that is null
//     or has a NUL inside, fail with -52005 and a sentence, and send nothing. A range that was moved
//     from is empty.
//  3. Text is UTF-8 and ends with a NUL. It is taken and lent as Text, which is made of a const
//     char* or a std::string, owns nothing, and can be printed, compared and turned into a
//     std::string_view. A Text that comes out of a range lives as long as the range.
//  4. Ownership. What owns something can be moved and not copied, and releases it in its destructor,
//     which throws nothing and tells nothing. handle() lends what the functions of zerovaapi.h take.
//  5. A Route ends its ticket. Its destructor takes back the steps that were made through it and
//     destroys the route; if the connection is broken it returns at once, otherwise it waits for the
//     service as any call does. release() gives the ticket up instead. An immediate route belongs to
//     no ticket: the Route of one ends nothing. When a session is closed, the routes of it hold
//     nothing any more.
//  6. Cost. A call that succeeds allocates what the C function allocates and nothing else;
//     Translator::settingsFor alone builds a std::string, Translator::detailRows takes one block for
//     its rows, and Session::terminals one for the names in a container. Walking a range copies
//     nothing.
//  7. Threads. A session together with its routes is used by one thread at a time, and so is each
//     other object; different sessions are independent. Several threads may read one range.
//  8. Parts of a program that are compiled with exceptions and parts without may be linked together,
//     but hand each other no objects of this header: the types are different ones.
#ifndef ZEROVAAPI_HPP
#define ZEROVAAPI_HPP

#include "lorvex_translator.h"
#include "quelerr_status.h"
#include "zerovaapi.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iosfwd>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#if !(__cplusplus >= 201703L || (defined(_MSVC_LANG) && _MSVC_LANG >= 201703L))
#error "zerovaapi.hpp is for C++17 and later."
#endif

// Behind the last parameter of each call that can fail: with nothing to tell, it throws.
#if defined(__cpp_exceptions) || defined(__EXCEPTIONS) || defined(_CPPUNWIND)
#define ZEROVAAPI_HAS_EXCEPTIONS 1
#define ZEROVAAPI_OR_THROW = {}
#include <exception>
#include <memory>
#include <new>
#else
#define ZEROVAAPI_HAS_EXCEPTIONS 0
#define ZEROVAAPI_OR_THROW
#endif

namespace zerovaapi {
#if ZEROVAAPI_HAS_EXCEPTIONS
inline namespace throwing {
#else
inline namespace telling {
#endif

inline constexpr int32_t kOutOfMemory = -52000;
inline constexpr int32_t kInvalidParameter = -52005;
inline constexpr int32_t kConnectionFailed = -52024;

enum class Lifetime : int32_t
{
   session = zerovaapi_kLifetimeSession,
   immediate = zerovaapi_kLifetimeImmediate
};

enum class State : int32_t
{
   calculated = zerovaapi_kStateCalculated,
   reserved = zerovaapi_kStateReserved,
   programmed = zerovaapi_kStateProgrammed
};

enum class Language : uint32_t
{
   english = lorvex_languageEnglish,
   french = lorvex_languageFrench,
   german = lorvex_languageGerman,
   japanese = lorvex_languageJapanese,
   korean = lorvex_languageKorean,
   chinese = lorvex_languageChinese
};

enum class Environment : uint32_t
{
   none = lorvex_environmentNone,
   brask = lorvex_environmentBrask,
   tolm = lorvex_environmentTolm,
   fennow = lorvex_environmentFennow
};

// A text that somebody else owns: rule 3.
class Text
{
public:
   constexpr Text(const char* text) noexcept
      : text_(text)
   {
   }
   Text(const std::string& text) noexcept
      : text_(text.c_str())
      , whole_(std::strlen(text.c_str()) == text.size())
   {
   }
   Text(std::nullptr_t) = delete;

   // Ends with a NUL. Never null: "" stands for a text that is.
   const char* c_str() const noexcept { return text_ ? text_ : ""; }
   operator std::string_view() const noexcept { return c_str(); }
   std::string str() const { return c_str(); }

   // Why no call takes this text, or null.
   const char* fault() const noexcept
   {
      if (!text_) return "A text is null.";
      return whole_ ? nullptr : "A text has a NUL inside.";
   }

   friend bool operator==(Text a, Text b) noexcept
   {
      return std::strcmp(a.c_str(), b.c_str()) == 0;
   }
   friend bool operator!=(Text a, Text b) noexcept { return !(a == b); }
   friend bool operator<(Text a, Text b) noexcept { return std::strcmp(a.c_str(), b.c_str()) < 0; }
   template <typename Traits>
   friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out,
                                                       Text text)
   {
      return out << text.c_str();
   }

private:
   const char* text_;
   bool whole_ = true;
};

// Where failures are told: rule 1. The first stays until clear().
class Status
{
public:
   Status() noexcept { quelerr_heapStatus_init(&record_); }
   Status(Status&& other) noexcept
      : Status()
   {
      swap(other);
   }
   Status& operator=(Status&& other) noexcept
   {
      Status taken(std::move(other));
      swap(taken);
      return *this;
   }
   ~Status() { quelerr_heapStatus_release(&record_); }
   Status(const Status&) = delete;
   Status& operator=(const Status&) = delete;

   bool failed() const noexcept { return hasNoResult_ || record_.code != 0; }
   int32_t code() const noexcept { return record_.code; }
   // What the failure's teller has to say, as quelerr_status.h describes it. Never null; "" if there
   // is no failure or no text.
   const char* json() const noexcept
   {
      return record_.code != 0 && record_.json ? record_.json : "";
   }
   void clear() noexcept
   {
      record_.code = 0;
      hasNoResult_ = false;
   }

   // For functions of zerovaapi.h.
   quelerr_Status* record() noexcept { return &record_; }

   // Holds a failure of the caller's own from now on, unless it holds one. sentence: for a
   // developer, without quotes, backslashes and control characters; null for no text.
   void fail(int32_t code, const char* errorConstant, const char* sentence) noexcept
   {
      if (failed()) return;
      record_.code = code;
      hasNoResult_ = true;
      if (record_.json) std::memcpy(record_.json, "{}", 3);
      static constexpr const char* kForm =
         R"({"error_constant":"%s","component":"zerovaapi","zerovaapi_debug":"%s"})";
      if (!sentence) return;
      const int length = std::snprintf(nullptr, 0, kForm, errorConstant, sentence);
      const uint32_t capacity = static_cast<uint32_t>(length) + 2; // the NUL and the last byte
      if (length > 0 && record_.resize(&record_, capacity))
         std::snprintf(record_.json, capacity, kForm, errorConstant, sentence);
   }
   // The result that the last call had to give did not come.
   void failWithoutResult() noexcept { hasNoResult_ = true; }

   void swap(Status& other) noexcept
   {
      std::swap(record_, other.record_);
      std::swap(hasNoResult_, other.hasNoResult_);
   }

private:
   quelerr_Status record_;
   bool hasNoResult_ = false;
};

#if ZEROVAAPI_HAS_EXCEPTIONS
// A failure that nobody gave a status for. Copying one allocates nothing.
class Error : public std::exception
{
public:
   explicit Error(const Status& status) noexcept
      : code_(status.code())
   {
      const int length = std::snprintf(brief_, sizeof brief_, "status %d", static_cast<int>(code_));
      if (*status.json() == '\0' || length < 0) return;
      const std::size_t size = std::strlen(status.json()) + 1;
      jsonAt_ = static_cast<std::size_t>(length) + 2;
      char* const text = static_cast<char*>(std::malloc(jsonAt_ + size));
      if (!text) return; // the code arrives all the same
      std::memcpy(text, brief_, jsonAt_ - 2);
      std::memcpy(text + jsonAt_ - 2, ": ", 2);
      std::memcpy(text + jsonAt_, status.json(), size);
      try {
         text_.reset(text, std::free);
      } catch (const std::bad_alloc&) {
         text_ = nullptr; // reset has freed the text
      }
   }

   int32_t code() const noexcept { return code_; }
   // What the failure's teller has to say, as quelerr_status.h describes it. Never null.
   const char* json() const noexcept { return text_ ? text_.get() + jsonAt_ : ""; }
   // "status CODE: JSON".
   const char* what() const noexcept override { return text_ ? text_.get() : brief_; }

private:
   int32_t code_;
   char brief_[24] = "";
   std::size_t jsonAt_ = 0;
   std::shared_ptr<const char> text_;
};
#endif

// The last parameter of a call that can fail: a Status, or nothing, so that it throws.
class OnFailure
{
public:
#if ZEROVAAPI_HAS_EXCEPTIONS
   OnFailure() noexcept = default;
#endif
   OnFailure(Status& told) noexcept
      : told_(&told)
   {
   }

   // Null if failures are thrown.
   Status* told() const noexcept
   {
      return told_;
   }

   void fail(int32_t code, const char* errorConstant, const char* sentence) const
   {
      if (told_) return told_->fail(code, errorConstant, sentence);
      Status own;
      own.fail(code, errorConstant, sentence);
      raise(own);
   }
   // The same with a failure that there is already.
   void pass(Status failed) const
   {
      if (!told_) return raise(failed);
      if (!told_->failed()) told_->swap(failed);
   }
   static void raise([[maybe_unused]] const Status& status)
   {
#if ZEROVAAPI_HAS_EXCEPTIONS
      throw Error(status);
#endif
   }
   void failInvalid(const char* sentence) const
   {
      fail(kInvalidParameter, "nTamrixS100::tStatus::kInvalidParameter", sentence);
   }

private:
   Status* told_ = nullptr;
};

namespace detail {

// Makes a call of the library: gives function a record and returns its result, or failure. fault:
// why the call cannot be made, or null. A null pointer is no result.
template <typename Result, typename Function>
Result call(OnFailure onFailure, const char* fault, Result failure, Function function)
{
   Status own;
   Status& status = onFailure.told() ? *onFailure.told() : own;
   if (status.failed()) return failure;
   if (fault) {
      onFailure.failInvalid(fault);
      return failure;
   }
   Result result = function(status.record());
   if constexpr (std::is_pointer_v<Result>)
      if (!result) status.failWithoutResult();
   if (!status.failed()) return result;
   if (!onFailure.told()) OnFailure::raise(own);
   return failure;
}

// The same for a function without a result.
template <typename Function>
bool tell(OnFailure onFailure, const char* fault, Function function)
{
   return call(onFailure, fault, false, [&](quelerr_Status* record) {
      function(record);
      return record->code == 0;
   });
}

// The first fault that there is, or null.
template <typename... Texts>
const char* faultOf(const char* ofObject, const Texts&... texts) noexcept
{
   const char* found = ofObject;
   ((found = found ? found : texts.fault()), ...);
   return found;
}

inline bool QUELERR_CALL keepNoText(quelerr_Status*, uint32_t newCapacity)
{
   return newCapacity == 0;
}

// A record that takes a code and no text, so that a failure costs no memory.
inline quelerr_Status codeAlone() noexcept
{
   return {0, 0, keepNoText, nullptr};
}

// The one owner of a pointer that a function releases.
template <typename Pointer, typename Release>
class Owner
{
public:
   Owner() noexcept = default;
   explicit Owner(Pointer held) noexcept
      : held_(held)
   {
   }
   Owner(Owner&& other) noexcept
      : held_(other.take())
   {
   }
   Owner& operator=(Owner&& other) noexcept
   {
      if (this != &other) {
         reset();
         held_ = other.take();
      }
      return *this;
   }
   ~Owner() { reset(); }
   Owner(const Owner&) = delete;
   Owner& operator=(const Owner&) = delete;

   Pointer get() const noexcept { return held_; }
   Pointer take() noexcept { return std::exchange(held_, nullptr); }
   void reset() noexcept
   {
      if (held_) Release()(take());
   }

private:
   Pointer held_ = nullptr;
};

// A position in a container. Element holds the container and the position; it tells whether that is
// the end and moves it on.
template <typename Element>
class Iterator
{
public:
   using value_type = Element;
   using difference_type = std::ptrdiff_t;
   using pointer = const Element*;
   using reference = Element;
   using iterator_category = std::input_iterator_tag;

   Iterator() noexcept = default;
   explicit Iterator(Element element) noexcept
      : element_(element)
   {
   }

   Element operator*() const noexcept { return element_; }
   const Element* operator->() const noexcept { return &element_; }
   Iterator& operator++() noexcept
   {
      element_.advance();
      return *this;
   }
   Iterator operator++(int) noexcept // NOLINT(cert-dcl21-cpp): as iterators do
   {
      const Iterator before = *this;
      ++*this;
      return before;
   }
   friend bool operator==(const Iterator& a, const Iterator& b) noexcept { return a.isSame(b); }
   friend bool operator!=(const Iterator& a, const Iterator& b) noexcept { return !(a == b); }

private:
   bool isSame(const Iterator& other) const noexcept { return element_.isSame(other.element_); }

   Element element_;
};

// What -> of an iterator gives that makes its Text anew and so has none to point to.
class TextOfIterator
{
public:
   explicit TextOfIterator(Text text) noexcept
      : text_(text)
   {
   }
   const Text* operator->() const noexcept { return &text_; }

private:
   Text text_;
};

// What devices and terminals have in common: an index in a container, or the end of any.
template <typename Container>
class Position
{
protected:
   Position() noexcept = default;
   Position(Container container, zerovaapi_Iterator index) noexcept
      : container_(container)
      , index_(index)
   {
   }

   static constexpr zerovaapi_Iterator kEnd = UINT64_MAX;

   // The end is asked of the library alone, as a walk in C asks it.
   template <typename Element>
   bool isSamePosition(const Element& other) const noexcept
   {
      if (other.index_ == kEnd) return index_ == kEnd || static_cast<const Element*>(this)->isEnd();
      return index_ == kEnd ? other.isEnd() : index_ == other.index_;
   }

   Container container_ = nullptr;
   zerovaapi_Iterator index_ = kEnd;
};

} // namespace detail

// A text that is owned. Holds nothing if the call that had to give it failed.
class OwnedText
{
public:
   OwnedText() noexcept = default;
   // release: gives the memory back.
   OwnedText(char* text, void (*release)(char*)) noexcept
      : text_(text)
      , release_(release)
   {
   }
   OwnedText(OwnedText&& other) noexcept
      : text_(std::exchange(other.text_, nullptr))
      , release_(other.release_)
   {
   }
   OwnedText& operator=(OwnedText&& other) noexcept
   {
      std::swap(text_, other.text_);
      std::swap(release_, other.release_);
      return *this;
   }
   ~OwnedText()
   {
      if (text_) release_(text_);
   }
   OwnedText(const OwnedText&) = delete;
   OwnedText& operator=(const OwnedText&) = delete;

   explicit operator bool() const noexcept { return text_ != nullptr; }
   // "" if it holds nothing.
   const char* c_str() const noexcept { return text_ ? text_ : ""; }
   operator Text() const noexcept { return c_str(); }
   operator std::string_view() const noexcept { return c_str(); }
   std::string str() const { return c_str(); }
   template <typename Traits>
   friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out,
                                                       const OwnedText& text)
   {
      return out << text.c_str();
   }

private:
   char* text_ = nullptr;
   void (*release_)(char*) = nullptr;
};

// One terminal: a set of named attributes. Borrowed from a range of terminals.
class Terminal : private detail::Position<zerovaapi_TerminalContainer>
{
public:
   Terminal() noexcept = default;

   // The attribute, or nothing if the terminal has no string (no boolean) of that name. An absent
   // one is no failure, and a status that holds a failure keeps neither from being read. Codes:
   // -52000, out of memory.
   std::optional<Text> text(Text name, OnFailure onFailure ZEROVAAPI_OR_THROW) const
   {
      quelerr_Status own = detail::codeAlone();
      const char* const found =
         zerovaapi_TerminalIterator_getStringAttribute(container_, index_, name.c_str(), &own);
      if (found && !name.fault()) return Text(found);
      return readerFailed(name, own.code, onFailure);
   }
   std::optional<bool> flag(Text name, OnFailure onFailure ZEROVAAPI_OR_THROW) const
   {
      quelerr_Status own = detail::codeAlone();
      const bool found =
         zerovaapi_TerminalIterator_getBoolAttribute(container_, index_, name.c_str(), &own);
      if ((found || own.code == 0) && !name.fault()) return found;
      return readerFailed(name, own.code, onFailure);
   }

private:
   friend class TerminalRange;
   friend class detail::Iterator<Terminal>;
   friend class detail::Position<zerovaapi_TerminalContainer>;
   using Position::Position;

   static std::nullopt_t readerFailed(Text name, int32_t code, OnFailure onFailure)
   {
      if (name.fault())
         onFailure.failInvalid(name.fault());
      else if (code != kInvalidParameter)
         onFailure.fail(code, "", nullptr);
      return std::nullopt;
   }
   bool isEnd() const noexcept { return zerovaapi_TerminalIterator_isEnd(container_, index_); }
   // As zerovaapi_TerminalIterator_next does, without the call: terminals come in thousands.
   void advance() noexcept { ++index_; }
   bool isSame(const Terminal& other) const noexcept { return isSamePosition(other); }
};

// The terminals of a device, in the service's order, borrowed from what owns them.
class TerminalRange
{
public:
   using iterator = detail::Iterator<Terminal>;
   using const_iterator = iterator;

   TerminalRange() noexcept = default;
   explicit TerminalRange(zerovaapi_TerminalContainer container) noexcept
      : container_(container)
   {
   }

   iterator begin() const noexcept
   {
      return iterator(Terminal(container_, zerovaapi_TerminalContainer_begin(container_)));
   }
   iterator end() const noexcept { return iterator(Terminal(container_, Terminal::kEnd)); }
   bool empty() const noexcept { return begin() == end(); }

   zerovaapi_TerminalContainer handle() const noexcept { return container_; }

private:
   zerovaapi_TerminalContainer container_ = nullptr;
};

// The terminals of a device, in the service's order. Outlives its session.
class Terminals
{
public:
   using iterator = TerminalRange::iterator;
   using const_iterator = iterator;

   Terminals() noexcept = default;
   // Takes a container that the caller owns.
   explicit Terminals(zerovaapi_TerminalContainer owned) noexcept
      : owned_(owned)
   {
   }

   iterator begin() const noexcept { return range().begin(); }
   iterator end() const noexcept { return range().end(); }
   bool empty() const noexcept { return range().empty(); }
   // Borrowed from this.
   TerminalRange range() const noexcept { return TerminalRange(owned_.get()); }

   zerovaapi_TerminalContainer handle() const noexcept { return owned_.get(); }

private:
   struct Release
   {
      void operator()(zerovaapi_TerminalContainer container) const noexcept
      {
         zerovaapi_TerminalContainer_destroy(container);
      }
   };
   detail::Owner<zerovaapi_TerminalContainer, Release> owned_;
};

// One device that a route uses. Borrowed from Devices. At the end of a range it has no name and no
// terminals.
class Device : private detail::Position<zerovaapi_DeviceContainer>
{
public:
   Device() noexcept = default;

   Text name() const
   {
      if (isEnd()) return "";
      return zerovaapi_DeviceIterator_getDeviceName(container_, index_);
   }
   TerminalRange terminals() const
   {
      if (isEnd()) return {};
      return TerminalRange(zerovaapi_DeviceIterator_getTerminalContainer(container_, index_));
   }

private:
   friend class Devices;
   friend class detail::Iterator<Device>;
   friend class detail::Position<zerovaapi_DeviceContainer>;
   using Position::Position;

   bool isEnd() const noexcept { return zerovaapi_DeviceIterator_isEnd(container_, index_); }
   void advance() noexcept { zerovaapi_DeviceIterator_next(&index_); }
   bool isSame(const Device& other) const noexcept { return isSamePosition(other); }
};

// The devices that a route uses, each with terminals, in the service's order. Outlives its session.
class Devices
{
public:
   using iterator = detail::Iterator<Device>;
   using const_iterator = iterator;

   Devices() noexcept = default;
   // Takes a container that the caller owns.
   explicit Devices(zerovaapi_DeviceContainer owned) noexcept
      : owned_(owned)
   {
   }

   iterator begin() const noexcept
   {
      return iterator(Device(handle(), zerovaapi_DeviceContainer_begin(handle())));
   }
   iterator end() const noexcept { return iterator(Device(handle(), Device::kEnd)); }
   bool empty() const noexcept { return begin() == end(); }

   zerovaapi_DeviceContainer handle() const noexcept { return owned_.get(); }

private:
   struct Release
   {
      void operator()(zerovaapi_DeviceContainer container) const noexcept
      {
         zerovaapi_DeviceContainer_destroy(container);
      }
   };
   detail::Owner<zerovaapi_DeviceContainer, Release> owned_;
};

// The names of the devices on which a service can route. Outlives its session.
class DeviceNames
{
   // A place in the array, whose end is a null pointer; without an array the end as well.
   class Place
   {
   public:
      using value_type = Text;
      using difference_type = std::ptrdiff_t;
      using pointer = detail::TextOfIterator;
      using reference = Text;
      using iterator_category = std::input_iterator_tag;

      explicit Place(const char* const* at = nullptr) noexcept
         : at_(at)
      {
      }
      Text operator*() const noexcept { return *at_; }
      pointer operator->() const noexcept { return pointer(**this); }
      Place& operator++() noexcept
      {
         ++at_;
         return *this;
      }
      Place operator++(int) noexcept // NOLINT(cert-dcl21-cpp): as iterators do
      {
         return Place(at_++);
      }
      friend bool operator==(const Place& a, const Place& b) noexcept
      {
         return a.isEnd() ? b.isEnd() : a.at_ == b.at_;
      }
      friend bool operator!=(const Place& a, const Place& b) noexcept { return !(a == b); }

   private:
      bool isEnd() const noexcept { return !at_ || !*at_; }
      const char* const* at_;
   };

public:
   using iterator = Place;
   using const_iterator = iterator;

   DeviceNames() noexcept = default;
   // Takes an array that the caller owns.
   explicit DeviceNames(char** owned) noexcept
      : owned_(owned)
   {
   }

   iterator begin() const noexcept { return iterator(owned_.get()); }
   static iterator end() noexcept { return iterator(); }
   bool empty() const noexcept { return begin() == end(); }

private:
   struct Release
   {
      void operator()(char** array) const noexcept { zerovaapi_destroyStringArray(array); }
   };
   detail::Owner<char**, Release> owned_;
};

// What an entry of a route's attributes is set to. Nothing but a bool counts as one.
class Value
{
public:
   Value(const char* text) noexcept
      : text_(text)
   {
   }
   Value(const std::string& text) noexcept
      : text_(text)
   {
   }
   Value(Text text) noexcept
      : text_(text)
   {
   }
   template <typename Bool, std::enable_if_t<std::is_same_v<Bool, bool>, int> = 0>
   Value(Bool flag) noexcept
      : isFlag_(true)
      , flag_(flag)
   {
   }

   bool isFlag() const noexcept { return isFlag_; }
   bool flag() const noexcept { return flag_; }
   const char* c_str() const noexcept { return text_.c_str(); }
   const char* fault() const noexcept { return text_.fault(); }

private:
   Text text_ = "";
   bool isFlag_ = false;
   bool flag_ = false;
};

// How a route is to be calculated. Only what was set is sent.
class RouteAttributes
{
public:
   // Nothing is set. Codes: -52000, out of memory.
   explicit RouteAttributes(OnFailure onFailure ZEROVAAPI_OR_THROW)
      : owned_(detail::call(
           onFailure, nullptr, zerovaapi_RouteAttributes{},
           [](quelerr_Status* record) { return zerovaapi_RouteAttributes_new(record); }))
   {
   }

   RouteAttributes& lifetime(Lifetime lifetime, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      if (detail::tell(onFailure, fault(), [&](quelerr_Status* record) {
             zerovaapi_RouteAttributes_setLifetime(handle(), static_cast<int32_t>(lifetime),
                                                   record);
          }))
         lifetime_ = lifetime;
      return *this;
   }
   // The state to which the calculation takes the route.
   RouteAttributes& targetState(State state, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      if (detail::tell(onFailure, fault(), [&](quelerr_Status* record) {
             zerovaapi_RouteAttributes_setCalculationTargetState(
                handle(), static_cast<int32_t>(state), record);
          }))
         targetState_ = state;
      return *this;
   }
   RouteAttributes& forceMultiDeviceRoute(bool force, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      detail::tell(onFailure, fault(), [&](quelerr_Status* record) {
         zerovaapi_RouteAttributes_setForceMultiDeviceRoute(handle(), force, record);
      });
      return *this;
   }
   // Codes: -52000, out of memory; in a program without exceptions that ends the program.
   RouteAttributes& ownerName(Text name, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      detail::tell(onFailure, fault(name), [&](quelerr_Status* record) {
#if ZEROVAAPI_HAS_EXCEPTIONS
         try {
            zerovaapi_RouteAttributes_setOwnerName(handle(), name.c_str(), record);
         } catch (const std::bad_alloc&) {
            if (record->json) std::memcpy(record->json, "{}", 3);
            record->code = kOutOfMemory;
         }
#else
         zerovaapi_RouteAttributes_setOwnerName(handle(), name.c_str(), record);
#endif
      });
      return *this;
   }

   // Each sets an entry anew: of the constraints on the whole route, on its source and on its
   // destination, and of the modifiers that may be left out, that must be had, and that must be had
   // at the destination. Codes: -52000, out of memory; the entry may then be half set.
   RouteAttributes& constraint(Text name, Value value, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return constrain(zerovaapi_RouteAttributes_getConstraints, name, value, onFailure);
   }
   RouteAttributes& sourceConstraint(Text name, Value value, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return constrain(zerovaapi_RouteAttributes_getSourceConstraints, name, value, onFailure);
   }
   RouteAttributes& destinationConstraint(Text name, Value value,
                                          OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return constrain(zerovaapi_RouteAttributes_getDestinationConstraints, name, value, onFailure);
   }
   RouteAttributes& optionalModifier(Text name, Value value, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return modify(zerovaapi_RouteAttributes_getOptionalModifiers, name, value, onFailure);
   }
   RouteAttributes& requiredModifier(Text name, Value value, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return modify(zerovaapi_RouteAttributes_getRequiredModifiers, name, value, onFailure);
   }
   RouteAttributes& destinationRequiredModifier(Text name, Value value,
                                                OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return modify(zerovaapi_RouteAttributes_getDestinationRequiredModifiers, name, value,
                    onFailure);
   }

   // Null if it was moved from or could not be made.
   zerovaapi_RouteAttributes handle() const noexcept
   {
      return owned_.get();
   }

private:
   friend class Session;
   struct Release
   {
      void operator()(zerovaapi_RouteAttributes attributes) const noexcept
      {
         zerovaapi_RouteAttributes_destroy(attributes);
      }
   };

   template <typename... Texts>
   const char* fault(const Texts&... texts) const noexcept
   {
      return detail::faultOf(
         handle() ? nullptr : "The route attributes were moved from or could not be made.",
         texts...);
   }
   template <typename Map>
   RouteAttributes& constrain(Map map, Text name, Value value, OnFailure onFailure)
   {
      detail::tell(onFailure, fault(name, value), [&](quelerr_Status* record) {
         if (value.isFlag())
            zerovaapi_RouteConstraints_setBoolConstraint(map(handle()), name.c_str(), value.flag(),
                                                         record);
         else
            zerovaapi_RouteConstraints_setStringConstraint(map(handle()), name.c_str(),
                                                           value.c_str(), record);
      });
      return *this;
   }
   template <typename Map>
   RouteAttributes& modify(Map map, Text name, Value value, OnFailure onFailure)
   {
      detail::tell(onFailure, fault(name, value), [&](quelerr_Status* record) {
         if (value.isFlag())
            zerovaapi_RouteModifiers_setBoolModifier(map(handle()), name.c_str(), value.flag(),
                                                     record);
         else
            zerovaapi_RouteModifiers_setStringModifier(map(handle()), name.c_str(), value.c_str(),
                                                       record);
      });
      return *this;
   }

   detail::Owner<zerovaapi_RouteAttributes, Release> owned_;
   std::optional<Lifetime> lifetime_; // as they were set: they decide what a Route has to end
   State targetState_ = State::calculated;
};

// A route and its ticket: rule 5.
class Route
{
public:
   // Holds none.
   Route() noexcept = default;
   Route(Route&& other) noexcept { take(other); }
   Route& operator=(Route&& other) noexcept
   {
      if (this != &other) {
         endSilently();
         take(other);
      }
      return *this;
   }
   ~Route() { endSilently(); }
   Route(const Route&) = delete;
   Route& operator=(const Route&) = delete;

   // Whether it holds a ticket of a session that is open.
   explicit operator bool() const noexcept { return session_ != nullptr; }
   // 0 if it holds none, and 0 is a ticket like any other.
   int32_t ticket() const noexcept { return session_ ? ticket_ : 0; }

   // Take the route forward and back.
   Route& reserve(OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return go(zerovaapi_reserveRoute, State::reserved, onFailure);
   }
   Route& program(OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return go(zerovaapi_programRoute, State::programmed, onFailure);
   }
   Route& unprogram(OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return go(zerovaapi_unprogramRoute, State::reserved, onFailure);
   }
   Route& unreserve(OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return go(zerovaapi_unreserveRoute, State::calculated, onFailure);
   }

   // The devices and terminals that the route uses.
   Devices devices(OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return Devices(
         detail::call(onFailure, fault(), zerovaapi_DeviceContainer{}, [&](quelerr_Status* record) {
            return zerovaapi_getRouteInfo(session_, ticket_, record);
         }));
   }
   // The fixed text "[]", without asking the service.
   OwnedText show(OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      char* const text =
         detail::call(onFailure, fault(), static_cast<char*>(nullptr), [&](quelerr_Status* record) {
            return zerovaapi_showRoute(session_, ticket_, record);
         });
      return {text, [](char* shown) { zerovaapi_destroyString(shown); }};
   }

   // Ends the route as the destructor does, at once, also one that is immediate, and tells what
   // fails. After a failure it still holds the ticket, in the state that it got to. A route that has
   // ended holds none, so to end it again is wrong use.
   void end(OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      bool goesOn = true;
      if (state_ == State::programmed)
         goesOn = stepWorked(zerovaapi_unprogramRoute, State::reserved, onFailure);
      if (goesOn && state_ == State::reserved)
         goesOn = stepWorked(zerovaapi_unreserveRoute, State::calculated, onFailure);
      if (goesOn && stepWorked(zerovaapi_destroyRoute, State::calculated, onFailure)) release();
   }
   // Gives the ticket up: the route goes on, and ending it is the caller's. Returns what ticket() did.
   int32_t release() noexcept
   {
      const int32_t given = ticket();
      detach();
      ticket_ = 0;
      return given;
   }

private:
   friend class Session;
   using Step = void(QUELERR_CALL*)(zerovaapi_Session, int32_t, quelerr_Status*);

   const char* fault() const noexcept
   {
      return session_ ? nullptr
                      : "The route was ended, given up or moved from, or its session is closed.";
   }
   bool stepWorked(Step step, State reached, OnFailure onFailure)
   {
      const bool worked = detail::tell(
         onFailure, fault(), [&](quelerr_Status* record) { step(session_, ticket_, record); });
      if (worked) state_ = reached;
      return worked;
   }
   Route& go(Step step, State reached, OnFailure onFailure)
   {
      stepWorked(step, reached, onFailure);
      return *this;
   }

   // A step that the service refuses does not keep the next from being tried.
   void endSilently() noexcept
   {
      if (session_ && endsRoute_) {
         int32_t code = 0;
         const auto takeBack = [&](Step step) {
            quelerr_Status own = detail::codeAlone();
            if (code != kConnectionFailed) step(session_, ticket_, &own);
            if (own.code != 0) code = own.code;
         };
         if (state_ == State::programmed) takeBack(zerovaapi_unprogramRoute);
         if (state_ != State::calculated) takeBack(zerovaapi_unreserveRoute);
         takeBack(zerovaapi_destroyRoute);
      }
      release();
   }

   // The open routes of a session are a list through themselves, so that the session can tell them
   // of its end with nothing allocated. link_ is what points to this.
   void attach(zerovaapi_Session session, Route** first) noexcept
   {
      session_ = session;
      link_ = first;
      next_ = *first;
      if (next_) next_->link_ = &next_;
      *first = this;
   }
   void detach() noexcept
   {
      if (!session_) return;
      *link_ = next_;
      if (next_) next_->link_ = link_;
      session_ = nullptr;
   }
   void take(Route& other) noexcept
   {
      ticket_ = other.ticket_;
      state_ = other.state_;
      endsRoute_ = other.endsRoute_;
      if (other.session_) {
         const zerovaapi_Session session = other.session_;
         Route** const link = other.link_;
         other.detach();
         attach(session, link);
      }
      other.ticket_ = 0;
   }

   zerovaapi_Session session_ = nullptr; // null: nothing can be asked of the service
   int32_t ticket_ = 0;
   State state_ = State::calculated;
   bool endsRoute_ = true;
   Route* next_ = nullptr;
   Route** link_ = nullptr;
};

// A connection to one service.
class Session
{
public:
   // Closed.
   Session() noexcept = default;
   // Takes a session that the caller owns. A route of it counts as immediate only if its attributes
   // say so.
   explicit Session(zerovaapi_Session owned) noexcept
      : owned_(owned)
   {
   }

   // To the service on this machine; on another machine, by name or address; on this machine, at its
   // endpoint for immediate routes. How long each can block stands in zerovaapi.h.
   static Session local(OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return Session(
         detail::call(onFailure, nullptr, zerovaapi_Session{},
                      [](quelerr_Status* record) { return zerovaapi_createSession(record); }));
   }
   static Session remote(Text host, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return Session(
         detail::call(onFailure, host.fault(), zerovaapi_Session{}, [&](quelerr_Status* record) {
            return zerovaapi_createRemoteSession(host.c_str(), record);
         }));
   }
   static Session immediate(OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      Session session(
         detail::call(onFailure, nullptr, zerovaapi_Session{}, [](quelerr_Status* record) {
            return zerovaapi_createImmediateSession(record);
         }));
      session.isImmediate_ = true;
      return session;
   }

   Session(Session&& other) noexcept { take(other); }
   Session& operator=(Session&& other) noexcept
   {
      if (this != &other) {
         close();
         take(other);
      }
      return *this;
   }
   ~Session() { close(); }
   Session(const Session&) = delete;
   Session& operator=(const Session&) = delete;

   // Whether it is open: not whether the connection still works.
   explicit operator bool() const noexcept { return handle() != nullptr; }
   // Does not block. The service ends what lives as long as the session.
   void close() noexcept
   {
      while (routes_)
         routes_->detach();
      owned_.reset();
   }

   // The names of the devices on which the service can route.
   DeviceNames devices(OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return DeviceNames(
         ask(onFailure, static_cast<char**>(nullptr), zerovaapi_getRoutableDevices));
   }
   // The terminals of a device, with the attributes that the service gives unasked.
   Terminals terminals(Text device, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return terminals(device, static_cast<const char* const*>(nullptr), onFailure);
   }
   // With these attributes: terminals("timer1", {"Name", "Kind"}).
   template <std::size_t count>
   Terminals terminals(Text device, const Text (&names)[count],
                       OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      const char* list[count + 1] = {};
      const char* fault = nullptr;
      for (std::size_t i = 0; i < count; ++i) {
         list[i] = names[i].c_str();
         if (!fault) fault = names[i].fault();
      }
      return terminalsOf(device, list, fault, onFailure);
   }
   // With those of a std::vector<std::string> or of another container of texts. Takes memory for a
   // list of them. Codes: -52000, out of memory.
   template <typename Names, typename Name = decltype(*std::declval<const Names&>().begin()),
             typename = std::enable_if_t<std::is_lvalue_reference_v<Name> &&
                                         std::is_convertible_v<Name, Text>>>
   Terminals terminals(Text device, const Names& names, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      struct Free
      {
         void operator()(const char** list) const noexcept { std::free(list); }
      };
      const auto count = static_cast<std::size_t>(std::distance(names.begin(), names.end()));
      const detail::Owner<const char**, Free> list(
         static_cast<const char**>(std::calloc(count + 1, sizeof(const char*))));
      if (!list.get()) {
         onFailure.fail(kOutOfMemory, "", nullptr);
         return {};
      }
      const char* fault = nullptr;
      const char** end = list.get();
      for (const Text name : names) {
         *end++ = name.c_str();
         if (!fault) fault = name.fault();
      }
      return terminalsOf(device, list.get(), fault, onFailure);
   }
   // With the attributes of an array that ends with a null pointer; a null array asks for none.
   Terminals terminals(Text device, const char* const* names,
                       OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return terminalsOf(device, names, nullptr, onFailure);
   }

   // A route between two terminals. attributes: only read; null for none.
   Route calculate(Text source, Text destination, const RouteAttributes* attributes,
                   OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      const char* const bad = attributes ? attributes->fault() : nullptr;
      bool worked = false;
      const int32_t ticket =
         detail::call(onFailure, bad ? bad : fault(source, destination), int32_t{0},
                      [&](quelerr_Status* record) {
                         const int32_t calculated = zerovaapi_calculateRoute(
                            handle(), source.c_str(), destination.c_str(),
                            attributes ? attributes->handle() : nullptr, record);
                         worked = record->code == 0;
                         return calculated;
                      });
      if (!worked) return {};
      Route calculated = route(ticket, attributes ? attributes->targetState_ : State::calculated);
      const Lifetime unsaid = isImmediate_ ? Lifetime::immediate : Lifetime::session;
      const Lifetime lifetime = attributes ? attributes->lifetime_.value_or(unsaid) : unsaid;
      calculated.endsRoute_ = lifetime == Lifetime::session;
      return calculated;
   }
   Route calculate(Text source, Text destination, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return calculate(source, destination, nullptr, onFailure);
   }
   // Takes over a ticket, such as one that was given up or that calculateResetTerminal gave. state:
   // that of the route. Asks nothing; of a session that is closed, the route holds nothing.
   Route route(int32_t ticket, State state = State::calculated) noexcept
   {
      Route taken;
      if (!handle()) return taken;
      taken.ticket_ = ticket;
      taken.state_ = state;
      taken.attach(handle(), &routes_);
      return taken;
   }

   // End immediate routes: the one between two terminals, all on a device, all that begin at a
   // terminal, all that end at one.
   void destroyImmediateRoute(Text source, Text destination, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      tell(onFailure, zerovaapi_destroyImmediateRoute, source, destination);
   }
   void destroyImmediateRoutesOnDevice(Text device, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      tell(onFailure, zerovaapi_destroyImmediateRoutesOnDevice, device);
   }
   void destroyImmediateRoutesFromSource(Text source, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      tell(onFailure, zerovaapi_destroyImmediateRoutesFromSource, source);
   }
   void destroyImmediateRoutesToDest(Text destination, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      tell(onFailure, zerovaapi_destroyImmediateRoutesToDest, destination);
   }
   // Retired: always fails, with -52002, and sends nothing.
   void destroyAllImmediateRoutes(OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      tell(onFailure, zerovaapi_destroyAllImmediateRoutes);
   }

   bool validateTerminalURI(Text uri, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return ask(onFailure, false, zerovaapi_validateTerminalURI, uri);
   }
   bool areTerminalURIsEqual(Text uri1, Text uri2, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return ask(onFailure, false, zerovaapi_areTerminalURIsEqual, uri1, uri2);
   }

   void resetTerminal(Text uri, Text typeOfReset, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      tell(onFailure, zerovaapi_resetTerminal, uri, typeOfReset);
   }
   // The service's number for the reset.
   int32_t calculateResetTerminal(Text uri, Text typeOfReset,
                                  OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return ask(onFailure, int32_t{0}, zerovaapi_calculateResetTerminal, uri, typeOfReset);
   }
   void initiateDeviceReset(Text device, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      tell(onFailure, zerovaapi_initiateDeviceReset, device);
   }
   void completeDeviceReset(Text device, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      tell(onFailure, zerovaapi_completeDeviceReset, device);
   }

   // The number that the service changes whenever terminal information changes.
   int32_t systemChangeNumber(OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return ask(onFailure, int32_t{0}, zerovaapi_getSystemChangeNumber);
   }
   bool hasTerminalInformationChanged(int32_t since, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return detail::call(onFailure, fault(), false, [&](quelerr_Status* record) {
         return zerovaapi_hasTerminalInformationChanged(handle(), since, record);
      });
   }
   // Whether the service runs in its debug mode. On failure true, as in C.
   bool isDebug(OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return ask(onFailure, true, zerovaapi_isDebug);
   }

   // Null if it is closed.
   zerovaapi_Session handle() const noexcept { return owned_.get(); }

private:
   struct Release
   {
      void operator()(zerovaapi_Session session) const noexcept
      {
         zerovaapi_destroySession(session);
      }
   };

   template <typename... Texts>
   const char* fault(const Texts&... texts) const noexcept
   {
      return detail::faultOf(handle() ? nullptr : "The session is closed or was moved from.",
                             texts...);
   }
   // Calls function(session, texts..., record).
   template <typename Result, typename Function, typename... Texts>
   Result ask(OnFailure onFailure, Result failure, Function function, const Texts&... texts)
   {
      return detail::call(onFailure, fault(texts...), failure, [&](quelerr_Status* record) {
         return function(handle(), texts.c_str()..., record);
      });
   }
   template <typename Function, typename... Texts>
   void tell(OnFailure onFailure, Function function, const Texts&... texts)
   {
      detail::tell(onFailure, fault(texts...),
                   [&](quelerr_Status* record) { function(handle(), texts.c_str()..., record); });
   }
   Terminals terminalsOf(Text device, const char* const* names, const char* faultOfNames,
                         OnFailure onFailure)
   {
      const char* const faultOfRest = fault(device);
      return Terminals(detail::call(onFailure, faultOfRest ? faultOfRest : faultOfNames,
                                    zerovaapi_TerminalContainer{}, [&](quelerr_Status* record) {
                                       return zerovaapi_getTerminalNamesAndAttributesForDevice(
                                          handle(), device.c_str(), names, record);
                                    }));
   }
   void take(Session& other) noexcept
   {
      owned_ = std::move(other.owned_);
      isImmediate_ = other.isImmediate_;
      routes_ = std::exchange(other.routes_, nullptr);
      if (routes_) routes_->link_ = &routes_;
   }

   detail::Owner<zerovaapi_Session, Release> owned_;
   bool isImmediate_ = false; // what a route is of which nothing else is said
   Route* routes_ = nullptr;  // the first of its open ones
};

namespace detail {

// What a description of the format "json1" becomes for DetailRows: items one behind the other, each
// a character and, but for the first two, a text with its NUL.
enum DetailItem : char
{
   endOfDetails = '\0',
   debugRow = 'D', // begins a row, as the next does
   dynamicRow = 'R',
   headingOfRow = 'H',
   valueOfRow = 'V'
};

// Walks over JSON and writes items. Any text is safe to read: where one does not fit, reading ends
// and what was written stays.
class DetailReader
{
public:
   // items: at least sizeFor bytes.
   static std::size_t sizeFor(const char* json) noexcept { return 2 * std::strlen(json) + 4; }
   DetailReader(const char* json, char* items) noexcept
      : json_(json)
      , out_(items)
   {
      readRows("dynamic", dynamicRow);
      readRows("debug", debugRow);
      *out_ = endOfDetails;
   }

private:
   void skipBlanks() noexcept
   {
      if (at_) at_ += std::strspn(at_, " \t\r\n");
   }
   bool stands(char letter) noexcept
   {
      skipBlanks();
      return at_ && *at_ == letter;
   }
   bool take(char letter) noexcept
   {
      const bool taken = stands(letter);
      if (taken) ++at_;
      return taken;
   }
   // Takes each member of the object, or element of the array, that is there.
   template <typename Function>
   void readEach(char open, char close, Function function) noexcept
   {
      if (!take(open)) at_ = nullptr;
      if (take(close)) return;
      do
         function();
      while (take(','));
      if (!take(close)) at_ = nullptr;
   }
   // Takes the name of a member and the colon, and returns the name as it is written.
   std::string_view takeName() noexcept
   {
      skipBlanks();
      const char* const begin = at_;
      skipString();
      const char* const end = at_;
      if (!take(':')) at_ = nullptr;
      return at_ ? std::string_view(begin + 1, static_cast<std::size_t>(end - begin) - 2)
                 : std::string_view();
   }

   void skipString() noexcept
   {
      if (!take('"')) at_ = nullptr;
      while (at_ && *at_ != '"')
         if (*at_ == '\0' || (*at_ == '\\' && *++at_ == '\0'))
            at_ = nullptr;
         else
            ++at_;
      if (at_) ++at_;
   }
   // A string, a number, or all between two brackets.
   void skipValue() noexcept
   {
      std::size_t depth = 0;
      do {
         if (stands('"')) {
            skipString();
         } else if (stands('{') || stands('[')) {
            ++depth;
            ++at_;
         } else if (depth > 0 && (stands('}') || stands(']'))) {
            --depth;
            ++at_;
         } else if (depth > 0 && (stands(',') || stands(':'))) {
            ++at_;
         } else if (at_) {
            const std::size_t length = std::strcspn(at_, ",:[]{}\" \t\r\n");
            at_ = length > 0 ? at_ + length : nullptr;
         }
      } while (at_ && depth > 0);
   }

   void put(uint32_t character) noexcept
   {
      const auto byte = [this](uint32_t value) { *out_++ = static_cast<char>(value); };
      if (character >= 0x10000) {
         byte(0xF0 | (character >> 18));
         byte(0x80 | ((character >> 12) & 0x3F));
      } else if (character >= 0x800) {
         byte(0xE0 | (character >> 12));
      } else if (character >= 0x80) {
         byte(0xC0 | (character >> 6));
      } else {
         byte(character);
         return;
      }
      if (character >= 0x800) byte(0x80 | ((character >> 6) & 0x3F));
      byte(0x80 | (character & 0x3F));
   }
   static bool isBetween(uint32_t value, uint32_t least, uint32_t most) noexcept
   {
      return value >= least && value <= most;
   }
   // Of the four digits behind \u. False if these are none.
   bool takeDigits(uint32_t& value) noexcept
   {
      value = 0;
      for (int count = 0; count < 4; ++count, ++at_) {
         static constexpr char kDigits[] = "0123456789abcdef";
         const char lower = *at_ >= 'A' && *at_ <= 'F' ? static_cast<char>(*at_ + 32) : *at_;
         const char* const digit = lower ? std::strchr(kDigits, lower) : nullptr;
         if (!digit) return false;
         value = 16 * value + static_cast<uint32_t>(digit - kDigits);
      }
      return true;
   }
   void takeEscape() noexcept
   {
      static constexpr char kNames[] = "bfnrt\"\\/";
      static constexpr char kValues[] = "\b\f\n\r\t\"\\/";
      static constexpr uint32_t kReplacement = 0xFFFD; // for halves of characters, and a NUL
      const char* const name = *at_ ? std::strchr(kNames, *at_) : nullptr;
      uint32_t character = 0;
      if (name) {
         *out_++ = kValues[name - kNames];
         ++at_;
      } else if (*at_++ != 'u' || !takeDigits(character)) {
         at_ = nullptr;
      } else {
         if (isBetween(character, 0xD800, 0xDBFF) && at_[0] == '\\' && at_[1] == 'u') {
            const char* const second = at_;
            uint32_t low = 0;
            at_ += 2;
            if (takeDigits(low) && isBetween(low, 0xDC00, 0xDFFF))
               return put(0x10000 + ((character - 0xD800) << 10) + (low - 0xDC00));
            at_ = second;
         }
         put(character == 0 || isBetween(character, 0xD800, 0xDFFF) ? kReplacement : character);
      }
   }
   // A string without its escapes, anything else as it is written.
   void writeItem(DetailItem item) noexcept
   {
      char* const before = out_;
      *out_++ = item;
      if (take('"')) {
         while (at_ && *at_ != '"' && *at_ != '\0')
            if (*at_ != '\\') {
               *out_++ = *at_++;
            } else {
               ++at_;
               takeEscape();
            }
         if (at_) at_ = *at_ == '"' ? at_ + 1 : nullptr;
      } else {
         skipBlanks();
         const char* const begin = at_;
         skipValue();
         if (at_) {
            const auto length = static_cast<std::size_t>(at_ - begin);
            std::memcpy(out_, begin, length);
            out_ += length;
         }
      }
      if (at_)
         *out_++ = '\0';
      else
         out_ = before;
   }

   void readRow(DetailItem row) noexcept
   {
      *out_++ = row;
      readEach('{', '}', [this] {
         const std::string_view name = takeName();
         if (name == "key")
            writeItem(headingOfRow);
         else if (name == "value" && stands('['))
            readEach('[', ']', [this] { writeItem(valueOfRow); });
         else if (name == "value")
            writeValue();
         else
            skipValue();
      });
   }
   // An empty array is written as an empty object.
   void writeValue() noexcept
   {
      const char* const begin = at_;
      if (take('{') && take('}')) return;
      at_ = begin;
      writeItem(valueOfRow);
   }
   void readRows(const char* list, DetailItem row) noexcept
   {
      at_ = json_;
      readEach('{', '}', [&] {
         if (takeName() == list && stands('['))
            readEach('[', ']', [&] { readRow(row); });
         else
            skipValue();
      });
   }

   const char* json_;
   const char* at_ = nullptr; // null: the text is not what was expected
   char* out_;
};

// A position among the items of a row.
class DetailValue
{
public:
   DetailValue() noexcept = default;
   explicit DetailValue(const char* at) noexcept
      : at_(toValue(at))
   {
   }
   Text operator*() const noexcept { return at_ + 1; }

   // The items of a row that are no values are passed over. Null behind the last.
   static const char* toValue(const char* at) noexcept
   {
      while (*at == headingOfRow)
         at = next(at);
      return *at == valueOfRow ? at : nullptr;
   }
   static const char* next(const char* at) noexcept
   {
      return *at == headingOfRow || *at == valueOfRow ? at + std::strlen(at) + 1 : at + 1;
   }
   void advance() noexcept { at_ = toValue(next(at_)); }
   bool isSame(const DetailValue& other) const noexcept { return at_ == other.at_; }

   const char* at_ = nullptr;
};

} // namespace detail

// The values of a row, each a Text, borrowed from the rows.
class DetailValues
{
public:
   class Iterator
   {
   public:
      using value_type = Text;
      using difference_type = std::ptrdiff_t;
      using pointer = detail::TextOfIterator;
      using reference = Text;
      using iterator_category = std::input_iterator_tag;

      Iterator() noexcept = default;
      explicit Iterator(detail::DetailValue at) noexcept
         : at_(at)
      {
      }
      Text operator*() const noexcept { return *at_; }
      pointer operator->() const noexcept { return pointer(**this); }
      Iterator& operator++() noexcept
      {
         at_.advance();
         return *this;
      }
      Iterator operator++(int) noexcept // NOLINT(cert-dcl21-cpp): as iterators do
      {
         const Iterator before = *this;
         ++*this;
         return before;
      }
      friend bool operator==(const Iterator& a, const Iterator& b) noexcept
      {
         return a.at_.isSame(b.at_);
      }
      friend bool operator!=(const Iterator& a, const Iterator& b) noexcept { return !(a == b); }

   private:
      detail::DetailValue at_;
   };

   Iterator begin() const noexcept { return begin_; }
   static Iterator end() noexcept { return {}; }
   bool empty() const noexcept { return begin() == end(); }

private:
   friend class DetailRow;
   explicit DetailValues(detail::DetailValue begin) noexcept
      : begin_(begin)
   {
   }
   Iterator begin_;
};

// A row of a description: a heading and its values, or a line of text, or, with neither, an empty
// line. Printed it is "HEADING: VALUE, VALUE". Borrowed from the rows.
class DetailRow
{
public:
   DetailRow() noexcept = default;

   // "" if it has none.
   Text heading() const noexcept
   {
      const char* at = at_ + 1;
      while (*at == detail::valueOfRow)
         at = detail::DetailValue::next(at);
      return *at == detail::headingOfRow ? at + 1 : "";
   }
   DetailValues values() const noexcept { return DetailValues(detail::DetailValue(at_ + 1)); }
   // Whether it is for a developer: the site, and whatever no other row shows.
   bool isDebug() const noexcept { return *at_ == detail::debugRow; }

   template <typename Traits>
   friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out,
                                                       const DetailRow& row)
   {
      const Text heading = row.heading();
      const char* between = "";
      if (heading != "") out << heading << ": ";
      for (const Text value : row.values()) {
         out << between << value;
         between = ", ";
      }
      return out;
   }

private:
   friend class DetailRows;
   friend class detail::Iterator<DetailRow>;
   explicit DetailRow(const char* at) noexcept
      : at_(at && *at != detail::endOfDetails ? at : nullptr)
   {
   }
   void advance() noexcept
   {
      do
         at_ = detail::DetailValue::next(at_);
      while (*at_ == detail::headingOfRow || *at_ == detail::valueOfRow);
      *this = DetailRow(at_);
   }
   bool isSame(const DetailRow& other) const noexcept { return at_ == other.at_; }

   const char* at_ = nullptr;
};

// What a failure's json holds for a reader, the rows for a developer last.
class DetailRows
{
public:
   DetailRows() noexcept = default;

   detail::Iterator<DetailRow> begin() const noexcept
   {
      return detail::Iterator<DetailRow>(DetailRow(items_.get()));
   }
   static detail::Iterator<DetailRow> end() noexcept { return {}; }
   bool empty() const noexcept { return begin() == end(); }

private:
   friend class Translator;
   struct Release
   {
      void operator()(char* items) const noexcept { std::free(items); }
   };
   // False if there is no memory.
   bool read(const char* json) noexcept
   {
      items_ = Items(static_cast<char*>(std::malloc(detail::DetailReader::sizeFor(json))));
      if (items_.get()) detail::DetailReader(json, items_.get());
      return items_.get() != nullptr;
   }
   // One row, which is the text as it stands.
   bool keep(const char* text) noexcept
   {
      const std::size_t size = std::strlen(text) + 1;
      items_ = Items(static_cast<char*>(std::malloc(size + 3)));
      if (!items_.get()) return false;
      items_.get()[0] = detail::dynamicRow;
      items_.get()[1] = detail::valueOfRow;
      std::memcpy(items_.get() + 2, text, size);
      items_.get()[2 + size] = detail::endOfDetails;
      return true;
   }

   using Items = detail::Owner<char*, Release>;
   Items items_;
};

// In which words a failure is described.
struct Wording
{
   Wording(Language of, Environment in = Environment::none) noexcept
      : language(of)
      , environment(in)
   {
   }
   Language language;
   Environment environment;
};

// Turns failures into words. It serves one call at a time. A failure is told in full by two texts:
// describe gives the sentence of its code, details what its json holds beside that. The status that
// takes a failure of the translator itself is another than the one that is described.
class Translator
{
public:
   // settings: the registration, as docs/translator.md tells; settingsFor makes one. Codes: -52000,
   // out of memory; -52003, its scripts could not be set up.
   explicit Translator(Text settings, OnFailure onFailure ZEROVAAPI_OR_THROW)
      : owned_(detail::call(onFailure, settings.fault(), static_cast<lorvex_Translator*>(nullptr),
                            [&](quelerr_Status* record) {
                               lorvex_Translator* const made =
                                  lorvex_exported_create("dorvex_zerova", settings.c_str(), record);
                               if (!made && record->code == 0) setOutOfMemory(record);
                               return made;
                            }))
   {
   }

   // The settings for the texts of the library's own codes, which pkg-config
   // --variable=textsdir zerovaapi names. folder: UTF-8.
   static std::string settingsFor(std::string_view folder)
   {
      const std::string quoted = quote(folder);
      return R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"driverName":"zerova",)"
             R"("trvSharedErrorsDir":")" +
             quoted + R"(/zerova","AuxErrorsDir":")" + quoted + R"("}})";
   }

   // The sentence of a code, or "Error description not found", which is no failure: it is so for
   // each code of a service that has installed no sentences, and for every code where the settings
   // name a folder that is not there.
   OwnedText describe(int32_t code, Wording wording, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return give(onFailure, fault(), [&](quelerr_Status* record, void* context) {
         return handle()->getStaticDesc(handle(), static_cast<uint32_t>(code), packed(wording),
                                        giveMemory, context, record);
      });
   }
   OwnedText describe(const Status& failed, Wording wording, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return describe(failed.code(), wording, onFailure);
   }

   // What a failure's json holds for a reader: a JSON object of rows, "json1" in
   // docs/translator.md. Holds nothing if there is nothing to tell, which is no failure. A text that
   // is no JSON fails with -52003. detailRows gives the same without either.
   OwnedText details(Text json, Wording wording, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      if (!fault() && (!handle()->getDynamicDesc || (!json.fault() && *json.c_str() == '\0')))
         return {};
      return give(onFailure, detail::faultOf(fault(), json),
                  [&](quelerr_Status* record, void* context) {
                     return handle()->getDynamicDesc(handle(), json.c_str(), packed(wording),
                                                     "json1", giveMemory, context, record);
                  });
   }
   OwnedText details(const Status& failed, Wording wording, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return details(failed.json(), wording, onFailure);
   }
   // The same as rows, which need no reader of JSON. A text that cannot be described, such as one of
   // a service that is no JSON, is no failure here: it is the only row, as it stands. Codes: -52000,
   // out of memory.
   DetailRows detailRows(Text json, Wording wording, OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      DetailRows rows;
      if (onFailure.told() && onFailure.told()->failed()) return rows;
      Status own;
      const OwnedText described = details(json, wording, own);
      bool hasMemory = true;
      if (described)
         hasMemory = rows.read(described.c_str());
      else if (own.code() == kCannotBeDescribed)
         hasMemory = rows.keep(json.c_str());
      else if (own.failed())
         onFailure.pass(std::move(own));
      if (!hasMemory) onFailure.fail(kOutOfMemory, "", nullptr);
      return rows;
   }
   DetailRows detailRows(const Status& failed, Wording wording,
                         OnFailure onFailure ZEROVAAPI_OR_THROW)
   {
      return detailRows(failed.json(), wording, onFailure);
   }
#if ZEROVAAPI_HAS_EXCEPTIONS
   DetailRows detailRows(const Error& failed, Wording wording, OnFailure onFailure = {})
   {
      return detailRows(failed.json(), wording, onFailure);
   }
   OwnedText describe(const Error& failed, Wording wording, OnFailure onFailure = {})
   {
      return describe(failed.code(), wording, onFailure);
   }
   OwnedText details(const Error& failed, Wording wording, OnFailure onFailure = {})
   {
      return details(failed.json(), wording, onFailure);
   }
#endif

   explicit operator bool() const noexcept
   {
      return handle() != nullptr;
   }
   lorvex_Translator* handle() const noexcept
   {
      return owned_.get();
   }

private:
   struct Release
   {
      void operator()(lorvex_Translator* translator) const noexcept
      {
         translator->destroy(translator);
      }
   };

   static constexpr int32_t kCannotBeDescribed = -52003; // what a script leaves that failed

   static void setOutOfMemory(quelerr_Status* record) noexcept
   {
      record->code = kOutOfMemory;
      if (record->json) std::memcpy(record->json, "{}", 3);
   }
   static char* QUELERR_CALL giveMemory(void*, std::size_t length, void*, quelerr_Status* record)
   {
      char* const memory = static_cast<char*>(std::malloc(length));
      if (!memory && record->code >= 0) setOutOfMemory(record);
      return memory;
   }
   static uint32_t packed(Wording wording) noexcept
   {
      return LORVEX_LANG_AND_ADE(wording.language, wording.environment);
   }
   static std::string quote(std::string_view text)
   {
      static constexpr char kDigits[] = "0123456789ABCDEF";
      std::string quoted;
      for (const char letter : text) {
         const auto byte = static_cast<unsigned char>(letter);
         if (letter == '"' || letter == '\\')
            (quoted += '\\') += letter;
         else if (byte < 0x20)
            ((quoted += "\\u00") += kDigits[byte >> 4]) += kDigits[byte & 0xF];
         else
            quoted += letter;
      }
      return quoted;
   }

   const char* fault() const noexcept
   {
      return handle() ? nullptr : "The translator was moved from or could not be made.";
   }
   // A description that did not come has failed only if its code says so.
   template <typename Function>
   OwnedText give(OnFailure onFailure, const char* fault, Function function)
   {
      char* text = nullptr;
      const bool worked = detail::tell(
         onFailure, fault, [&](quelerr_Status* record) { text = function(record, nullptr); });
      OwnedText given(text, [](char* memory) { std::free(memory); });
      return worked ? std::move(given) : OwnedText();
   }

   detail::Owner<lorvex_Translator*, Release> owned_;
};

} // namespace throwing or telling
} // namespace zerovaapi

#undef ZEROVAAPI_OR_THROW
#undef ZEROVAAPI_HAS_EXCEPTIONS

#endif
