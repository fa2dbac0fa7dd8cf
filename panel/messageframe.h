#pragma once

#include <QByteArray>
#include <QString>

/**
 * What goes over the wire between two instances: the length of the text in bytes as a 32-bit big-endian number, the
 * text as UTF-8; and back the acknowledgement.
 *
 * May be used from any thread. Rests on QByteArray and qToBigEndian().
 */
namespace messageframe {

/// The longest text, in bytes of UTF-8.
inline constexpr qsizetype maximumTextSize = 65536;

/// What the receiver answers to a complete frame.
inline constexpr char acknowledgement[] = "ack";

/// Bytes of the acknowledgement on the wire.
inline constexpr qsizetype acknowledgementSize = sizeof(acknowledgement) - 1;

/**
 * The frame of a text.
 *
 * @param text  any, of at most maximumTextSize bytes in UTF-8
 * @return the bytes to send; null when the text is longer than maximumTextSize
 */
QByteArray fromText(const QString &text);

/**
 * How many bytes to read next: the rest of the length, or the rest of the text once the length is there.
 *
 * @param received  everything read so far, no more than the previous answers allowed
 * @return 0 when the frame is complete; -1 when it announces more than maximumTextSize
 */
qsizetype missingBytes(const QByteArray &received);

/**
 * The text of a complete frame.
 *
 * @param frame  missingBytes() of it is 0
 * @return the text; bytes that are not UTF-8 have become replacement characters
 */
QString toText(const QByteArray &frame);

} // namespace messageframe
