// Reads the two large replies from the bytes of their frames.
#ifndef ZEROVAAPI_REPLY_READER_H
#define ZEROVAAPI_REPLY_READER_H

#include "source/zerovaapi/containers.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace zerova {

// Nothing, unless the frame is the whole reply of the method as services of this interface send it:
// with the fields that it has here and no others, and each name once. What else may come is for the
// generic reader to take, to skip, to merge or to refuse, and it is left to it.
std::optional<ReplyContent> readTerminalReply(std::span<const uint8_t> frame);
std::unique_ptr<DeviceReply> readDeviceReply(std::span<const uint8_t> frame);

} // namespace zerova

#endif
