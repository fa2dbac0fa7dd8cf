#pragma once

#include "content.h"

#include <cstddef>

/**
 * The encodings. Each composes a message into a buffer of `message_room` bytes and gives its length, and reads one back
 * into the structure; a length of 0 and false are failures. Beyond what they store into the structure they keep
 * nothing.
 */

namespace with_usmsg {
size_t compose(const ChannelRequest &content, uint8_t *message);
size_t compose(const ChannelReply &content, uint8_t *message);
size_t compose(const IdentityReply &content, uint8_t *message);
size_t compose(const FirmwareBlock &content, uint8_t *message);
bool read(const uint8_t *message, size_t size, ChannelRequest *content);
bool read(const uint8_t *message, size_t size, ChannelReply *content);
bool read(const uint8_t *message, size_t size, IdentityReply *content);
bool read(const uint8_t *message, size_t size, FirmwareBlock *content);
} // namespace with_usmsg

/// nanopb, with the structures that its generator makes.
namespace with_nanopb {
size_t compose(const ChannelRequest &content, uint8_t *message);
size_t compose(const ChannelReply &content, uint8_t *message);
size_t compose(const IdentityReply &content, uint8_t *message);
size_t compose(const FirmwareBlock &content, uint8_t *message);
bool read(const uint8_t *message, size_t size, ChannelRequest *content);
bool read(const uint8_t *message, size_t size, ChannelReply *content);
bool read(const uint8_t *message, size_t size, IdentityReply *content);
bool read(const uint8_t *message, size_t size, FirmwareBlock *content);
} // namespace with_nanopb

/// Qt's CBOR stream classes: an element is a pair in a map, its key the identifier.
namespace with_cbor_stream {
size_t compose(const ChannelRequest &content, uint8_t *message);
size_t compose(const ChannelReply &content, uint8_t *message);
size_t compose(const IdentityReply &content, uint8_t *message);
size_t compose(const FirmwareBlock &content, uint8_t *message);
bool read(const uint8_t *message, size_t size, ChannelRequest *content);
bool read(const uint8_t *message, size_t size, ChannelReply *content);
bool read(const uint8_t *message, size_t size, IdentityReply *content);
bool read(const uint8_t *message, size_t size, FirmwareBlock *content);
} // namespace with_cbor_stream

/// Qt's CBOR values, with the same maps.
namespace with_cbor_value {
size_t compose(const ChannelRequest &content, uint8_t *message);
size_t compose(const ChannelReply &content, uint8_t *message);
size_t compose(const IdentityReply &content, uint8_t *message);
size_t compose(const FirmwareBlock &content, uint8_t *message);
bool read(const uint8_t *message, size_t size, ChannelRequest *content);
bool read(const uint8_t *message, size_t size, ChannelReply *content);
bool read(const uint8_t *message, size_t size, IdentityReply *content);
bool read(const uint8_t *message, size_t size, FirmwareBlock *content);
} // namespace with_cbor_value
