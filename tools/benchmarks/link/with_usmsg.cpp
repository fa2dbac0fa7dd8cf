#include "encodings.h"
#include "usmsg.h"

#include <algorithm>
#include <cstring>

namespace with_usmsg {

namespace {

bool put_u8(usmsg_buf_t *buf, uint32_t id, uint8_t value)
{
    return usmsg_put(buf, id, USMSG_DATA_TYPE_U8, value, 0) == 0;
}

bool put_u16(usmsg_buf_t *buf, uint32_t id, uint16_t value)
{
    return usmsg_put(buf, id, USMSG_DATA_TYPE_U16, value, 0) == 0;
}

bool put_bytes(usmsg_buf_t *buf, uint32_t id, const uint8_t *bytes, uint8_t length)
{
    return usmsg_put(buf, id, USMSG_DATA_TYPE_BYTES, reinterpret_cast<uintptr_t>(bytes), length) == 0;
}

bool put_text(usmsg_buf_t *buf, uint32_t id, const Text &text)
{
    return put_bytes(buf, id, text.bytes, text.length);
}

size_t ended(usmsg_buf_t *buf)
{
    return usmsg_put(buf, USMSG_ID_END, USMSG_DATA_TYPE_END, 0, 0) == 0 ? buf->pos : 0;
}

/// Reading changes nothing in the message.
void begin_reading(usmsg_buf_t *buf, const uint8_t *message, size_t size)
{
    usmsg_init(buf, const_cast<uint8_t *>(message), static_cast<uint8_t>(size));
}

/// An element as it was read.
struct Element
{
    uint32_t id = 0;
    uint32_t type = 0;
    uint64_t value = 0;
    uint8_t length = 0;

    /// The bytes of a byte string; null for any other type, whose value is no address.
    const uint8_t *bytes() const
    {
        return type == USMSG_DATA_TYPE_BYTES ? reinterpret_cast<const uint8_t *>(static_cast<uintptr_t>(value))
                                             : nullptr;
    }
};

bool next(usmsg_buf_t *buf, Element *element)
{
    return usmsg_get(buf, &element->id, &element->type, &element->value, &element->length) == 0;
}

bool take_text(const Element &element, Text *text)
{
    const uint8_t *const bytes = element.bytes();
    if (bytes == nullptr || element.length > sizeof(text->bytes))
        return false;
    text->length = element.length;
    std::memcpy(text->bytes, bytes, element.length);
    return true;
}

} // namespace

size_t compose(const ChannelRequest &content, uint8_t *message)
{
    usmsg_buf_t buf;
    usmsg_init(&buf, message, USMSG_MAX_SIZE);
    for (const ChannelRequest::Channel &channel : content.channel) {
        if (!put_u8(&buf, USMSG_ID_CH, channel.ch) || !put_u8(&buf, USMSG_ID_CH_NO, channel.ch_no)
            || usmsg_put(&buf, USMSG_ID_GET_STEREO, USMSG_DATA_TYPE_NONE, 0, 0) != 0)
            return 0;
    }
    return ended(&buf);
}

size_t compose(const ChannelReply &content, uint8_t *message)
{
    usmsg_buf_t buf;
    usmsg_init(&buf, message, USMSG_MAX_SIZE);
    const bool composed = put_u8(&buf, USMSG_ID_READY, content.ready) && put_u8(&buf, USMSG_ID_CH, content.ch)
        && put_u8(&buf, USMSG_ID_CH_NO, content.ch_no) && put_u8(&buf, USMSG_ID_GET_FADER, content.fader);
    return composed ? ended(&buf) : 0;
}

size_t compose(const IdentityReply &content, uint8_t *message)
{
    usmsg_buf_t buf;
    usmsg_init(&buf, message, USMSG_MAX_SIZE);
    const bool composed = put_u8(&buf, USMSG_ID_READY, content.ready)
        && put_u16(&buf, USMSG_ID_VERSION, content.version) && put_u16(&buf, USMSG_ID_BUILD, content.build)
        && put_text(&buf, USMSG_ID_PRODUCTNAME, content.productname)
        && put_text(&buf, USMSG_ID_BUILDDATE, content.builddate)
        && put_text(&buf, USMSG_ID_BUILDTIME, content.buildtime) && put_text(&buf, USMSG_ID_INFO, content.info);
    return composed ? ended(&buf) : 0;
}

size_t compose(const FirmwareBlock &content, uint8_t *message)
{
    usmsg_buf_t buf;
    usmsg_init(&buf, message, USMSG_MAX_SIZE);
    return put_bytes(&buf, USMSG_ID_FW_DATA, content.data, FirmwareBlock::size) ? ended(&buf) : 0;
}

bool read(const uint8_t *message, size_t size, ChannelRequest *content)
{
    usmsg_buf_t buf;
    begin_reading(&buf, message, size);
    Element element;
    ChannelRequest::Channel current = {};
    int count = 0;
    while (next(&buf, &element)) {
        if (element.id == USMSG_ID_CH)
            current.ch = static_cast<uint8_t>(element.value);
        else if (element.id == USMSG_ID_CH_NO)
            current.ch_no = static_cast<uint8_t>(element.value);
        else if (element.id == USMSG_ID_GET_STEREO && count < ChannelRequest::channels)
            content->channel[count++] = current;
    }
    return count == ChannelRequest::channels;
}

bool read(const uint8_t *message, size_t size, ChannelReply *content)
{
    usmsg_buf_t buf;
    begin_reading(&buf, message, size);
    Element element;
    bool found = false;
    while (next(&buf, &element)) {
        const auto value = static_cast<uint8_t>(element.value);
        switch (element.id) {
        case USMSG_ID_READY:
            content->ready = value;
            break;
        case USMSG_ID_CH:
            content->ch = value;
            break;
        case USMSG_ID_CH_NO:
            content->ch_no = value;
            break;
        case USMSG_ID_GET_FADER:
            content->fader = value;
            found = true;
            break;
        default:
            break;
        }
    }
    return found;
}

bool read(const uint8_t *message, size_t size, IdentityReply *content)
{
    usmsg_buf_t buf;
    begin_reading(&buf, message, size);
    Element element;
    bool valid = true;
    while (next(&buf, &element)) {
        switch (element.id) {
        case USMSG_ID_READY:
            content->ready = static_cast<uint8_t>(element.value);
            break;
        case USMSG_ID_VERSION:
            content->version = static_cast<uint16_t>(element.value);
            break;
        case USMSG_ID_BUILD:
            content->build = static_cast<uint16_t>(element.value);
            break;
        case USMSG_ID_PRODUCTNAME:
            valid = take_text(element, &content->productname) && valid;
            break;
        case USMSG_ID_BUILDDATE:
            valid = take_text(element, &content->builddate) && valid;
            break;
        case USMSG_ID_BUILDTIME:
            valid = take_text(element, &content->buildtime) && valid;
            break;
        case USMSG_ID_INFO:
            valid = take_text(element, &content->info) && valid;
            break;
        default:
            break;
        }
    }
    return valid;
}

bool read(const uint8_t *message, size_t size, FirmwareBlock *content)
{
    usmsg_buf_t buf;
    begin_reading(&buf, message, size);
    Element element;
    while (next(&buf, &element)) {
        if (element.id != USMSG_ID_FW_DATA)
            continue;
        const uint8_t *const bytes = element.bytes();
        if (bytes == nullptr || element.length != FirmwareBlock::size)
            return false;
        std::memcpy(content->data, bytes, FirmwareBlock::size);
        return true;
    }
    return false;
}

} // namespace with_usmsg
