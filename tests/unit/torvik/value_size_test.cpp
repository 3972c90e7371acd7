// Values of sizes that no text has, in settings that the tests play.
#include "platform/settings_tree.h"
#include "torvik/windows_registry.h"

#include "support/owned.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

struct PlayedValue
{
   std::string bytes;
   std::string bytesLater; // what the value is after its first reading, unless empty
   const quelerr_WideBuffer* buffer = nullptr;
   int readings = 0;
};

PlayedValue* played = nullptr;

class ValueSize : public testing::Test
{
protected:
   ValueSize()
   {
      content.buffer = &value;
      played = &content;
   }
   ~ValueSize() override { played = nullptr; }

   void read()
   {
      constexpr uint16_t kName[] = {'n', 0};
      torvik_readRegistryString(kName, kName, kNativeView, &value, &status);
   }

   PlayedValue content;
   OwnedWideBuffer value;
   OwnedStatus status;
};

TEST_F(ValueSize, OddNumberOfBytesIsReadWithoutTheLast)
{
   content.bytes = {'a', 0, 'b', 0, 'c'};
   read();
   EXPECT_EQ(status.code, 0) << status.text();
   EXPECT_EQ(unitsOf(value), u"ab");
}

TEST_F(ValueSize, OddNumberOfBytesAboveTheFirstRoomFitsIntoTheBufferOfTheSecondReading)
{
   content.bytes.assign(513, '\x11');
   read();
   EXPECT_EQ(status.code, 0) << status.text();
   EXPECT_EQ(content.readings, 2);
   EXPECT_EQ(unitsOf(value), std::u16string(256, u'\x1111'));
}

TEST_F(ValueSize, ValueThatGrowsBetweenTwoReadingsIsReadWhole)
{
   content.bytes.assign(514, '\x11');
   content.bytesLater.assign(701, '\x22');
   read();
   EXPECT_EQ(status.code, 0) << status.text();
   EXPECT_EQ(content.readings, 3);
   EXPECT_EQ(unitsOf(value), std::u16string(350, u'\x2222'));
}

TEST_F(ValueSize, ValueThatShrinksBetweenTwoReadingsLeavesNothingOfTheLongerOne)
{
   content.bytes.assign(600, '\x11');
   content.bytesLater = {'x', 0};
   read();
   EXPECT_EQ(status.code, 0) << status.text();
   EXPECT_EQ(unitsOf(value), u"x");
}

} // namespace

namespace platform {

uint32_t openSettingsKey(const uint16_t*, uint32_t, SettingsKeyHandle* handle)
{
   *handle = 1;
   return 0;
}

uint32_t readSettingsValue(SettingsKeyHandle, const uint16_t*, uint16_t* units, uint32_t* size)
{
   EXPECT_LE(*size, played->buffer->length * sizeof *units) << "the buffer is smaller than told";
   if (played->readings++ == 1 && !played->bytesLater.empty()) played->bytes = played->bytesLater;
   const size_t room = std::min<size_t>(*size, played->buffer->length * sizeof *units);
   std::memcpy(units, played->bytes.data(), std::min(room, played->bytes.size()));
   const bool fits = played->bytes.size() <= *size;
   *size = static_cast<uint32_t>(played->bytes.size());
   return fits ? 0 : kMoreData;
}

void closeSettingsKey(SettingsKeyHandle) {}

} // namespace platform
