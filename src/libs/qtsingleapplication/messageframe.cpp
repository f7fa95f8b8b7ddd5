#include "qtsingleapplication/messageframe_p.h"

#include <QtEndian>

#include <cstring>

namespace messageframe {

namespace {

constexpr char mark[] = {'Q', 'V', 'M', '1'};
constexpr int headerSize = sizeof mark + sizeof(quint32);
constexpr quint32 largestBody = 256 * 1024 * 1024;

quint32 BodySize(const QByteArray& frame)
{
    return qFromBigEndian<quint32>(frame.constData() + sizeof mark);
}

} // namespace

QByteArray Encode(const QString& message)
{
    if (static_cast<quint64>(message.size()) * sizeof(QChar) > largestBody)
        return QByteArray();
    const auto size = static_cast<quint32>(message.size()) * quint32(sizeof(QChar));
    QByteArray frame(headerSize + static_cast<int>(size), Qt::Uninitialized);
    memcpy(frame.data(), mark, sizeof mark);
    qToBigEndian(size, frame.data() + sizeof mark);
    memcpy(frame.data() + headerSize, message.constData(), size);
    return frame;
}

Decoder::State Decoder::Add(const QByteArray& bytes)
{
    received_ += bytes;
    const auto begin = QByteArray::fromRawData(mark, sizeof mark);
    if (!received_.startsWith(begin.left(received_.size())))
        return Garbage;
    if (received_.size() < headerSize)
        return Incomplete;
    const quint32 size = BodySize(received_);
    const auto arrived = static_cast<quint32>(received_.size() - headerSize);
    if (size > largestBody || size % sizeof(QChar) != 0 || arrived > size)
        return Garbage;
    return arrived == size ? Complete : Incomplete;
}

QString Decoder::Message() const
{
    QString text(static_cast<int>(BodySize(received_) / sizeof(QChar)), Qt::Uninitialized);
    memcpy(text.data(), received_.constData() + headerSize, BodySize(received_));
    return text;
}

} // namespace messageframe
