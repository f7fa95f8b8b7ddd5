#include "common/logger/positiontext_p.h"

namespace common::logger {

std::string PositionText(const ILogger& logger, const IMessage& message, unsigned int format)
{
    std::string text;
    if (!logger.IsPositionEnabled() || !message.File())
        return text;

    text += " (";
    if ((format & functionFormat) && message.Function())
        text.append(message.Function()).append(": ");
    text.append("file: ").append(message.File());
    return text.append("(").append(std::to_string(message.Line())).append("))");
}

} // namespace common::logger
