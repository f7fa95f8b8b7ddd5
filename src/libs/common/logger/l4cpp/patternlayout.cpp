#include "common/logger/l4cpp/patternlayout_p.h"

#include <log4cpp/LoggingEvent.hh>
#include <log4cpp/Priority.hh>

#include <cstdlib>
#include <regex>

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
    static const std::regex plain("([^%]+)|%(-?[0-9]{0,3})([ptcm])(?!\\{)|%(n)(?!\\{)|"
                                  "%(d)\\{([^}]*%[^}]*)\\}");
    auto from = pattern.cbegin();
    std::smatch match;
    while (from != pattern.cend()) {
        if (!std::regex_search(from, pattern.cend(), match, plain,
                               std::regex_constants::match_continuous))
            return false;
        Piece piece;
        if (match[1].matched) {
            piece.text = match[1];
        } else if (match[4].matched) {
            piece.text = "\n";
        } else if (match[5].matched) {
            const std::string format = match[6];
            const size_t place = format.find("%l");
            piece.kind = 'd';
            piece.text = format.substr(0, place);
            piece.milliseconds = place != std::string::npos;
            if (piece.milliseconds)
                piece.after = format.substr(place + 2);
        } else {
            piece.kind = match[3].str()[0];
            piece.width = std::atoi(match[2].str().c_str());
        }
        pieces.push_back(piece);
        from = match[0].second;
    }
    return true;
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
