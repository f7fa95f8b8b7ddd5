#pragma once

#include <log4cpp/PatternLayout.hh>

#include <ctime>
#include <mutex>
#include <string>
#include <vector>

namespace common::logger::l4cpp {

/**
 * Writes the lines of log4cpp's own pattern layout, faster: the date is made once a second, and
 * there is no stream a line. What it does not know it leaves to that layout.
 */
class PatternLayout : public log4cpp::PatternLayout
{
public:
    void setConversionPattern(const std::string& pattern) override;
    std::string format(const log4cpp::LoggingEvent& event) override;

private:
    struct Piece
    {
        char kind = 0; // a conversion character, or 0 for a literal text
        int width = 0;
        std::string text;  // the literal, or the format of a date up to its milliseconds
        std::string after; // the format of a date behind them
        bool milliseconds = false;
    };
    struct Stamp
    {
        std::time_t second = -1;
        std::string text;
        std::string after;
    };

    static bool SetDate(Piece& piece, const std::string& format);
    static bool Parse(const std::string& pattern, std::vector<Piece>& pieces);
    void AppendDate(std::string& line, const Piece& piece, Stamp& stamp,
                    const log4cpp::TimeStamp& time);

    std::vector<Piece> pieces_; // empty for a pattern that is left to log4cpp
    std::vector<Stamp> stamps_; // one for each piece
    std::mutex mutex_;
};

} // namespace common::logger::l4cpp
