#include "common/logger/l4cpp/patternlayout_p.h"

#include <QRegularExpression>

#include <log4cpp/LoggingEvent.hh>
#include <log4cpp/Priority.hh>

#include <cstdlib>

namespace common::logger::l4cpp {

namespace {

constexpr size_t usualLength = 160;

void AppendPadded(std::string& line, const std::string& text, int width)
{
    const size_t size = static_cast<size_t>(std::abs(width));
    const size_t fill = size > text.size() ? size - text.size() : 0;
    if (width > 0)
        line.append(fill, ' ');
    line += text;
    if (width < 0)
        line.append(fill, ' ');
}

// The format comes from a client's pattern.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
std::string Formatted(const std::string& format, const std::tm& time)
{
    char buffer[100]; // as large as log4cpp's
    const size_t size = std::strftime(buffer, sizeof buffer, format.c_str(), &time);
    return std::string(buffer, size);
}
#pragma GCC diagnostic pop

} // namespace

void PatternLayout::setConversionPattern(const std::string& pattern)
{
    log4cpp::PatternLayout::setConversionPattern(pattern); // throws for one that is wrong
    pieces_.clear();
    if (!Parse(pattern, pieces_))
        pieces_.clear();
    stamps_.assign(pieces_.size(), Stamp());
}

// Takes the plain forms only; other ones, such as %5.10c, %c{2} and %d{ISO8601}, are log4cpp's.
bool PatternLayout::Parse(const std::string& pattern, std::vector<Piece>& pieces)
{
    static const QRegularExpression plain(
        QStringLiteral("\\G(?:([^%]+)|%(-?[0-9]{0,3})([ptcm])(?!\\{)|%(n)(?!\\{)|"
                       "%d\\{([^}]*%[^}]*)\\})"));
    const QString text = QString::fromLatin1(pattern.data(), static_cast<int>(pattern.size()));
    qsizetype end = 0;
    while (end < text.size()) {
        const auto match = plain.match(text, end);
        if (!match.hasMatch())
            return false;
        end = match.capturedEnd();
        Piece piece;
        if (match.capturedLength(1) > 0) {
            piece.text = match.captured(1).toLatin1().toStdString();
        } else if (match.capturedLength(4) > 0) {
            piece.text = "\n";
        } else if (match.capturedLength(5) > 0) {
            if (!SetDate(piece, match.captured(5).toLatin1().toStdString()))
                return false;
        } else {
            piece.kind = match.captured(3).at(0).toLatin1();
            piece.width = match.captured(2).toInt();
        }
        pieces.push_back(piece);
    }
    return true;
}

bool PatternLayout::SetDate(Piece& piece, const std::string& format)
{
    // Nothing that the milliseconds would become a part of, and no end before theirs.
    static const QRegularExpression whole(
        QStringLiteral("\\A(?:[^%\\x00]|%[EO]?[A-DF-NP-Za-z%])*\\z"));
    const size_t place = format.find("%l");
    piece.kind = 'd';
    piece.text = format.substr(0, place);
    piece.milliseconds = place != std::string::npos;
    if (piece.milliseconds)
        piece.after = format.substr(place + 2);
    return whole.match(QString::fromLatin1(piece.text.c_str(), int(piece.text.size()))).hasMatch();
}

std::string PatternLayout::format(const log4cpp::LoggingEvent& event)
{
    if (pieces_.empty())
        return log4cpp::PatternLayout::format(event);

    std::string line;
    line.reserve(usualLength + event.message.size());
    for (size_t i = 0; i < pieces_.size(); ++i) {
        const Piece& piece = pieces_[i];
        switch (piece.kind) {
        case 'd':
            AppendDate(line, piece, stamps_[i], event.timeStamp);
            break;
        case 'p':
            AppendPadded(line, log4cpp::Priority::getPriorityName(event.priority), piece.width);
            break;
        case 't':
            AppendPadded(line, event.threadName, piece.width);
            break;
        case 'c':
            AppendPadded(line, event.categoryName, piece.width);
            break;
        case 'm':
            AppendPadded(line, event.message, piece.width);
            break;
        default:
            line += piece.text;
        }
    }
    return line;
}

void PatternLayout::AppendDate(std::string& line, const Piece& piece, Stamp& stamp,
                               const log4cpp::TimeStamp& time)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (stamp.second != time.getSeconds()) {
        const std::time_t second = time.getSeconds();
        std::tm local = {};
        tzset(); // the zone may be another one by now
        localtime_r(&second, &local);
        stamp = {second, Formatted(piece.text, local), Formatted(piece.after, local)};
    }
    line += stamp.text;
    if (piece.milliseconds) {
        const int value = time.getMilliSeconds();
        const char digits[] = {static_cast<char>('0' + value / 100),
                               static_cast<char>('0' + value / 10 % 10),
                               static_cast<char>('0' + value % 10)};
        line.append(digits, sizeof digits).append(stamp.after);
    }
}

} // namespace common::logger::l4cpp
