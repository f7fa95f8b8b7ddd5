#include "common/logger/positiontext_p.h"

namespace common::logger {

std::string PositionText(const IMessage& message, quint32 format)
{
    std::string text;
    if (!(format & positionBit) || !message.File())
        return text;

    text += " (";
    if ((format & functionBit) && message.Function())
        text.append(message.Function()).append(": ");
    text.append("file: ").append(message.File());
    return text.append("(").append(std::to_string(message.Line())).append("))");
}

} // namespace common::logger
