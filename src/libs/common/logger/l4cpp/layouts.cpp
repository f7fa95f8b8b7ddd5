#include "common/logger/l4cpp/layouts_p.h"

#include "common/logger/ilogger.h"
#include "common/logger/l4cpp/patternlayout_p.h"

#include <QRegularExpression>
#include <QString>

#include <log4cpp/BasicLayout.hh>
#include <log4cpp/SimpleLayout.hh>

#include <ctime>
#include <memory>
#include <string>

namespace common::logger::l4cpp {

namespace {

// The literal "m" in the date is meant: programs that read these logs expect it.
constexpr char defaultPattern[] = "%d{%Y.m.%d %H:%M:%S.%l} %6p [%5t] %c: %m%n";

// The format comes from a client's pattern.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
// log4cpp writes a date into a buffer of fixed size, and does not ask whether it fits.
bool FitsDateBuffer(std::string format)
{
    constexpr size_t bufferSize = 100;
    constexpr int months = 12;
    constexpr int weekdays = 7;
    const size_t milliseconds = format.find("%l");
    if (milliseconds != std::string::npos)
        format.replace(milliseconds, 2, "999");
    format.insert(0, "."); // so that it is not empty
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    for (int i = 0; i < months * weekdays; ++i) { // their names differ in length
        char buffer[bufferSize + 1];
        local.tm_mon = i % months;
        local.tm_wday = i % weekdays;
        if (std::strftime(buffer, sizeof buffer, format.c_str(), &local) == 0)
            return false;
    }
    return true;
}
#pragma GCC diagnostic pop

log4cpp::Layout* MakePatternLayout(const QString& pattern)
{
    const std::string text = pattern.isEmpty() ? defaultPattern : pattern.toStdString();
    if (!IsWritable(text))
        return nullptr;
    auto layout = std::make_unique<PatternLayout>();
    try {
        layout->setConversionPattern(text);
    } catch (const log4cpp::ConfigureFailure&) {
        return nullptr;
    }
    return layout.release();
}

} // namespace

bool IsWritable(const std::string& pattern)
{
    static const QRegularExpression excess(QStringLiteral("(?<!%)(?:%%)*%-?[0-9]{5}"));
    static const QRegularExpression date(QStringLiteral("(?<!%)(?:%%)*%[^A-Za-z%]*d\\{([^}]*)"));
    const QString text = QString::fromLatin1(pattern.data(), static_cast<int>(pattern.size()));
    if (excess.match(text).hasMatch())
        return false;
    auto dates = date.globalMatch(text);
    while (dates.hasNext()) {
        if (!FitsDateBuffer(dates.next().captured(1).toLatin1().toStdString()))
            return false;
    }
    return true;
}

log4cpp::Layout* MakeLayout(unsigned int format, const QString& pattern)
{
    if (format & patternFormat)
        return MakePatternLayout(pattern);
    if (format & basicFormat)
        return new log4cpp::BasicLayout;
    return format & simpleFormat ? new log4cpp::SimpleLayout : nullptr;
}

} // namespace common::logger::l4cpp
