#pragma once

#include <QByteArray>
#include <QString>

/**
 * A message between instances: a mark, the number of bytes, and the text as UTF-16, so that any
 * QString arrives as it was, lone surrogates included.
 */
namespace messageframe {

/** What the server answers when it has the whole message. */
constexpr char confirmation = '\x06';

/** Empty for a text that is too long. */
QByteArray Encode(const QString& message);

/** Takes frames apart as they arrive. */
class Decoder
{
public:
    enum State { Incomplete, Complete, Garbage };

    State Add(const QByteArray& bytes);
    /** The text, once Complete. */
    QString Message() const;

private:
    QByteArray received_;
};

} // namespace messageframe
