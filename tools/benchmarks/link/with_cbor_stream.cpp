#include "encodings.h"
#include "usmsg.h"

#include <QtCore/QByteArray>
#include <QtCore/QCborStreamReader>
#include <QtCore/QCborStreamWriter>

#include <algorithm>
#include <cstring>

namespace with_cbor_stream {

namespace {

/// A message that is being composed: one map.
class Writer
{
public:
    explicit Writer(quint64 elements)
        : m_writer(room(&m_bytes))
    {
        m_writer.startMap(elements);
    }

    void put(uint32_t id, quint64 number)
    {
        m_writer.append(quint64{id});
        m_writer.append(number);
    }

    void put(uint32_t id, const uint8_t *bytes, qsizetype length)
    {
        m_writer.append(quint64{id});
        m_writer.appendByteString(reinterpret_cast<const char *>(bytes), length);
    }

    QCborStreamWriter *operator->() { return &m_writer; }

    size_t end(uint8_t *message)
    {
        m_writer.endMap();
        if (m_bytes.size() > qsizetype{message_room})
            return 0;
        std::memcpy(message, m_bytes.constData(), static_cast<size_t>(m_bytes.size()));
        return static_cast<size_t>(m_bytes.size());
    }

private:
    static QByteArray *room(QByteArray *bytes)
    {
        bytes->reserve(message_room);
        return bytes;
    }

    QByteArray m_bytes;
    QCborStreamWriter m_writer;
};

QCborStreamReader reader_of(const uint8_t *message, size_t size)
{
    return {message, static_cast<qsizetype>(size)};
}

uint64_t take_number(QCborStreamReader *reader)
{
    if (!reader->isUnsignedInteger())
        return 0;
    const quint64 number = reader->toUnsignedInteger();
    reader->next();
    return number;
}

/// Reads a byte string into a buffer; its length, or -1.
qsizetype take_bytes(QCborStreamReader *reader, uint8_t *bytes, qsizetype room)
{
    if (!reader->isByteArray())
        return -1;
    const auto chunk = reader->readStringChunk(reinterpret_cast<char *>(bytes), room);
    if (chunk.status != QCborStreamReader::Ok
        || reader->readStringChunk(nullptr, 0).status != QCborStreamReader::EndOfString)
        return -1;
    return chunk.data;
}

bool take_text(QCborStreamReader *reader, Text *text)
{
    const qsizetype length = take_bytes(reader, text->bytes, sizeof(text->bytes));
    text->length = static_cast<uint8_t>(std::max<qsizetype>(length, 0));
    return length >= 0;
}

} // namespace

size_t compose(const ChannelRequest &content, uint8_t *message)
{
    Writer writer(1);
    writer->append(quint64{USMSG_ID_GET_STEREO});
    writer->startArray(quint64{2} * ChannelRequest::channels);
    for (const ChannelRequest::Channel &channel : content.channel) {
        writer->append(quint64{channel.ch});
        writer->append(quint64{channel.ch_no});
    }
    writer->endArray();
    return writer.end(message);
}

size_t compose(const ChannelReply &content, uint8_t *message)
{
    Writer writer(4);
    writer.put(USMSG_ID_READY, content.ready);
    writer.put(USMSG_ID_CH, content.ch);
    writer.put(USMSG_ID_CH_NO, content.ch_no);
    writer.put(USMSG_ID_GET_FADER, content.fader);
    return writer.end(message);
}

size_t compose(const IdentityReply &content, uint8_t *message)
{
    Writer writer(7);
    writer.put(USMSG_ID_READY, content.ready);
    writer.put(USMSG_ID_VERSION, content.version);
    writer.put(USMSG_ID_BUILD, content.build);
    writer.put(USMSG_ID_PRODUCTNAME, content.productname.bytes, content.productname.length);
    writer.put(USMSG_ID_BUILDDATE, content.builddate.bytes, content.builddate.length);
    writer.put(USMSG_ID_BUILDTIME, content.buildtime.bytes, content.buildtime.length);
    writer.put(USMSG_ID_INFO, content.info.bytes, content.info.length);
    return writer.end(message);
}

size_t compose(const FirmwareBlock &content, uint8_t *message)
{
    Writer writer(1);
    writer.put(USMSG_ID_FW_DATA, content.data, FirmwareBlock::size);
    return writer.end(message);
}

bool read(const uint8_t *message, size_t size, ChannelRequest *content)
{
    QCborStreamReader reader = reader_of(message, size);
    if (!reader.isMap() || !reader.enterContainer() || take_number(&reader) != USMSG_ID_GET_STEREO || !reader.isArray()
        || !reader.enterContainer())
        return false;
    int count = 0;
    while (reader.hasNext() && count < ChannelRequest::channels) {
        content->channel[count].ch = static_cast<uint8_t>(take_number(&reader));
        content->channel[count].ch_no = static_cast<uint8_t>(take_number(&reader));
        ++count;
    }
    return count == ChannelRequest::channels && reader.lastError() == QCborError::NoError;
}

bool read(const uint8_t *message, size_t size, ChannelReply *content)
{
    QCborStreamReader reader = reader_of(message, size);
    if (!reader.isMap() || !reader.enterContainer())
        return false;
    while (reader.hasNext() && reader.lastError() == QCborError::NoError) {
        const uint64_t id = take_number(&reader);
        const auto value = static_cast<uint8_t>(take_number(&reader));
        switch (id) {
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
            break;
        default:
            return false;
        }
    }
    return reader.lastError() == QCborError::NoError;
}

bool read(const uint8_t *message, size_t size, IdentityReply *content)
{
    QCborStreamReader reader = reader_of(message, size);
    if (!reader.isMap() || !reader.enterContainer())
        return false;
    bool valid = true;
    while (valid && reader.hasNext()) {
        switch (take_number(&reader)) {
        case USMSG_ID_READY:
            content->ready = static_cast<uint8_t>(take_number(&reader));
            break;
        case USMSG_ID_VERSION:
            content->version = static_cast<uint16_t>(take_number(&reader));
            break;
        case USMSG_ID_BUILD:
            content->build = static_cast<uint16_t>(take_number(&reader));
            break;
        case USMSG_ID_PRODUCTNAME:
            valid = take_text(&reader, &content->productname);
            break;
        case USMSG_ID_BUILDDATE:
            valid = take_text(&reader, &content->builddate);
            break;
        case USMSG_ID_BUILDTIME:
            valid = take_text(&reader, &content->buildtime);
            break;
        case USMSG_ID_INFO:
            valid = take_text(&reader, &content->info);
            break;
        default:
            return false;
        }
    }
    return valid && reader.lastError() == QCborError::NoError;
}

bool read(const uint8_t *message, size_t size, FirmwareBlock *content)
{
    QCborStreamReader reader = reader_of(message, size);
    return reader.isMap() && reader.enterContainer() && take_number(&reader) == USMSG_ID_FW_DATA
        && take_bytes(&reader, content->data, FirmwareBlock::size) == FirmwareBlock::size;
}

} // namespace with_cbor_stream
