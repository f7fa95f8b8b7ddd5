#include "common/logger/l4cpp/layouts_p.h"

#include "common/logger/l4cpp/patternlayout_p.h"

#include <QRegularExpression>
#include <QString>

#include <log4cpp/BasicLayout.hh>
#include <log4cpp/SimpleLayout.hh>

#include <ctime>
#include <iomanip>
#include <memory>
#include <sstream>

namespace common::logger::l4cpp {

namespace {

constexpr unsigned int patternBit = 0x100;
constexpr unsigned int simpleBit = 0x200;
constexpr unsigned int basicBit = 0x400;

// The literal "m" in the date is meant: programs that read these logs expect it.
constexpr char defaultPattern[] = "%d{%Y.m.%d %H:%M:%S.%l} %6p [%5t] %c: %m%n";

// log4cpp writes a date into a buffer of fixed size, and does not ask whether it fits.
bool FitsDateBuffer(const QString& pattern)
{
    constexpr size_t bufferSize = 100;
    static const QRegularExpression date(QStringLiteral("%-?[0-9.]*d\\{([^}]*)\\}"));
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    auto dates = date.globalMatch(pattern);
    while (dates.hasNext()) {
        std::ostringstream text;
        text << std::put_time(&local, dates.next().captured(1).toUtf8().constData());
        if (text.str().size() >= bufferSize)
            return false;
    }
    return true;
}

log4cpp::Layout* MakePatternLayout(const QString& pattern)
{
    if (!FitsDateBuffer(pattern))
        return nullptr;
    auto layout = std::make_unique<PatternLayout>();
    try {
        layout->setConversionPattern(pattern.isEmpty() ? defaultPattern : pattern.toStdString());
    } catch (const log4cpp::ConfigureFailure&) {
        return nullptr;
    }
    return layout.release();
}

} // namespace

log4cpp::Layout* MakeLayout(unsigned int format, const QString& pattern)
{
    if (format & patternBit)
        return MakePatternLayout(pattern);
    if (format & basicBit)
        return new log4cpp::BasicLayout;
    return format & simpleBit ? new log4cpp::SimpleLayout : nullptr;
}

} // namespace common::logger::l4cpp
