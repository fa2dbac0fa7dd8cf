#include "encodings.h"

#include "link.pb.h"

#include <pb_decode.h>
#include <pb_encode.h>

#include <cstring>

namespace with_nanopb {

namespace {

size_t encode(const pb_msgdesc_t *fields, const void *content, uint8_t *message)
{
    pb_ostream_t stream = pb_ostream_from_buffer(message, message_room);
    return pb_encode(&stream, fields, content) ? stream.bytes_written : 0;
}

bool decode(const pb_msgdesc_t *fields, void *content, const uint8_t *message, size_t size)
{
    pb_istream_t stream = pb_istream_from_buffer(message, size);
    return pb_decode(&stream, fields, content);
}

template <typename Bytes>
void put_text(const Text &text, Bytes *bytes)
{
    bytes->size = text.length;
    std::memcpy(bytes->bytes, text.bytes, text.length);
}

template <typename Bytes>
void take_text(const Bytes &bytes, Text *text)
{
    text->length = static_cast<uint8_t>(bytes.size);
    std::memcpy(text->bytes, bytes.bytes, bytes.size);
}

} // namespace

size_t compose(const ChannelRequest &content, uint8_t *message)
{
    link_ChannelRequest request;
    for (int index = 0; index < ChannelRequest::channels; ++index)
        request.get_stereo[index] = {content.channel[index].ch, content.channel[index].ch_no};
    return encode(link_ChannelRequest_fields, &request, message);
}

size_t compose(const ChannelReply &content, uint8_t *message)
{
    const link_ChannelReply reply = {content.ready, content.ch, content.ch_no, content.fader};
    return encode(link_ChannelReply_fields, &reply, message);
}

size_t compose(const IdentityReply &content, uint8_t *message)
{
    link_IdentityReply reply;
    reply.ready = content.ready;
    reply.version = content.version;
    reply.build = content.build;
    put_text(content.productname, &reply.productname);
    put_text(content.builddate, &reply.builddate);
    put_text(content.buildtime, &reply.buildtime);
    put_text(content.info, &reply.info);
    return encode(link_IdentityReply_fields, &reply, message);
}

size_t compose(const FirmwareBlock &content, uint8_t *message)
{
    link_FirmwareBlock block;
    block.data.size = FirmwareBlock::size;
    std::memcpy(block.data.bytes, content.data, FirmwareBlock::size);
    return encode(link_FirmwareBlock_fields, &block, message);
}

bool read(const uint8_t *message, size_t size, ChannelRequest *content)
{
    link_ChannelRequest request;
    if (!decode(link_ChannelRequest_fields, &request, message, size))
        return false;
    for (int index = 0; index < ChannelRequest::channels; ++index)
        content->channel[index] = {request.get_stereo[index].ch, request.get_stereo[index].ch_no};
    return true;
}

bool read(const uint8_t *message, size_t size, ChannelReply *content)
{
    link_ChannelReply reply;
    if (!decode(link_ChannelReply_fields, &reply, message, size))
        return false;
    *content = {reply.ready, reply.ch, reply.ch_no, reply.fader};
    return true;
}

bool read(const uint8_t *message, size_t size, IdentityReply *content)
{
    link_IdentityReply reply;
    if (!decode(link_IdentityReply_fields, &reply, message, size))
        return false;
    content->ready = reply.ready;
    content->version = reply.version;
    content->build = reply.build;
    take_text(reply.productname, &content->productname);
    take_text(reply.builddate, &content->builddate);
    take_text(reply.buildtime, &content->buildtime);
    take_text(reply.info, &content->info);
    return true;
}

bool read(const uint8_t *message, size_t size, FirmwareBlock *content)
{
    link_FirmwareBlock block;
    if (!decode(link_FirmwareBlock_fields, &block, message, size) || block.data.size != FirmwareBlock::size)
        return false;
    std::memcpy(content->data, block.data.bytes, FirmwareBlock::size);
    return true;
}

} // namespace with_nanopb
