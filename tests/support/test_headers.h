// Precompiled for the tests; nothing includes it by name.
#ifndef TESTS_SUPPORT_TEST_HEADERS_H
#define TESTS_SUPPORT_TEST_HEADERS_H

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#endif
