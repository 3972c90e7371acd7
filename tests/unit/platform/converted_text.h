// Text in a code page, converted in the two steps that a caller takes.
#ifndef TESTS_UNIT_PLATFORM_CONVERTED_TEXT_H
#define TESTS_UNIT_PLATFORM_CONVERTED_TEXT_H

#include "platform/code_page.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using Units = std::vector<uint16_t>;

constexpr std::array<uint32_t, 4> kPages = {1252, 932, 949, 936};

// The units of text; empty when it is refused, which both steps must agree on.
inline Units convert(uint32_t page, const std::string& text)
{
   Units units(platform::measureUtf16(page, text.data(), text.size()));
   // A unit more, so that a step that finds more than it measured shows.
   Units room(text.size() + 1);
   const size_t converted =
      platform::convertToUtf16(page, text.data(), text.size(), room.data(), room.size());
   EXPECT_EQ(units.size(), converted) << "the length asked for and the length written differ";
   room.resize(converted);
   return room;
}

#endif
