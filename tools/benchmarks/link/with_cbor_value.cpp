#include "encodings.h"
#include "usmsg.h"

#include <QtCore/QByteArray>
#include <QtCore/QCborArray>
#include <QtCore/QCborMap>
#include <QtCore/QCborValue>

#include <cstring>

namespace with_cbor_value {

namespace {

size_t encode(const QCborMap &map, uint8_t *message)
{
    const QByteArray bytes = map.toCborValue().toCbor();
    if (bytes.size() > qsizetype{message_room})
        return 0;
    std::memcpy(message, bytes.constData(), static_cast<size_t>(bytes.size()));
    return static_cast<size_t>(bytes.size());
}

QCborMap decode(const uint8_t *message, size_t size)
{
    return QCborValue::fromCbor(message, static_cast<qsizetype>(size)).toMap();
}

QByteArray bytes_of(const Text &text)
{
    return {reinterpret_cast<const char *>(text.bytes), text.length};
}

bool take_text(const QCborMap &map, qint64 id, Text *text)
{
    const QByteArray bytes = map.value(id).toByteArray();
    if (bytes.size() > qsizetype{sizeof(text->bytes)})
        return false;
    text->length = static_cast<uint8_t>(bytes.size());
    std::memcpy(text->bytes, bytes.constData(), text->length);
    return true;
}

template <typename Number>
Number number_of(const QCborMap &map, qint64 id)
{
    return static_cast<Number>(map.value(id).toInteger());
}

} // namespace

size_t compose(const ChannelRequest &content, uint8_t *message)
{
    QCborArray channels;
    for (const ChannelRequest::Channel &channel : content.channel) {
        channels.append(channel.ch);
        channels.append(channel.ch_no);
    }
    QCborMap map;
    map.insert(qint64{USMSG_ID_GET_STEREO}, channels);
    return encode(map, message);
}

size_t compose(const ChannelReply &content, uint8_t *message)
{
    QCborMap map;
    map.insert(qint64{USMSG_ID_READY}, content.ready);
    map.insert(qint64{USMSG_ID_CH}, content.ch);
    map.insert(qint64{USMSG_ID_CH_NO}, content.ch_no);
    map.insert(qint64{USMSG_ID_GET_FADER}, content.fader);
    return encode(map, message);
}

size_t compose(const IdentityReply &content, uint8_t *message)
{
    QCborMap map;
    map.insert(qint64{USMSG_ID_READY}, content.ready);
    map.insert(qint64{USMSG_ID_VERSION}, content.version);
    map.insert(qint64{USMSG_ID_BUILD}, content.build);
    map.insert(qint64{USMSG_ID_PRODUCTNAME}, bytes_of(content.productname));
    map.insert(qint64{USMSG_ID_BUILDDATE}, bytes_of(content.builddate));
    map.insert(qint64{USMSG_ID_BUILDTIME}, bytes_of(content.buildtime));
    map.insert(qint64{USMSG_ID_INFO}, bytes_of(content.info));
    return encode(map, message);
}

size_t compose(const FirmwareBlock &content, uint8_t *message)
{
    QCborMap map;
    map.insert(qint64{USMSG_ID_FW_DATA}, QByteArray(reinterpret_cast<const char *>(content.data), FirmwareBlock::size));
    return encode(map, message);
}

bool read(const uint8_t *message, size_t size, ChannelRequest *content)
{
    const QCborArray channels = decode(message, size).value(qint64{USMSG_ID_GET_STEREO}).toArray();
    if (channels.size() != qsizetype{2} * ChannelRequest::channels)
        return false;
    for (qsizetype index = 0; index < ChannelRequest::channels; ++index) {
        content->channel[index].ch = static_cast<uint8_t>(channels.at(2 * index).toInteger());
        content->channel[index].ch_no = static_cast<uint8_t>(channels.at(2 * index + 1).toInteger());
    }
    return true;
}

bool read(const uint8_t *message, size_t size, ChannelReply *content)
{
    const QCborMap map = decode(message, size);
    content->ready = number_of<uint8_t>(map, USMSG_ID_READY);
    content->ch = number_of<uint8_t>(map, USMSG_ID_CH);
    content->ch_no = number_of<uint8_t>(map, USMSG_ID_CH_NO);
    content->fader = number_of<uint8_t>(map, USMSG_ID_GET_FADER);
    return map.size() == 4;
}

bool read(const uint8_t *message, size_t size, IdentityReply *content)
{
    const QCborMap map = decode(message, size);
    content->ready = number_of<uint8_t>(map, USMSG_ID_READY);
    content->version = number_of<uint16_t>(map, USMSG_ID_VERSION);
    content->build = number_of<uint16_t>(map, USMSG_ID_BUILD);
    return take_text(map, USMSG_ID_PRODUCTNAME, &content->productname)
        && take_text(map, USMSG_ID_BUILDDATE, &content->builddate)
        && take_text(map, USMSG_ID_BUILDTIME, &content->buildtime) && take_text(map, USMSG_ID_INFO, &content->info);
}

bool read(const uint8_t *message, size_t size, FirmwareBlock *content)
{
    const QByteArray data = decode(message, size).value(qint64{USMSG_ID_FW_DATA}).toByteArray();
    if (data.size() != FirmwareBlock::size)
        return false;
    std::memcpy(content->data, data.constData(), FirmwareBlock::size);
    return true;
}

} // namespace with_cbor_value
