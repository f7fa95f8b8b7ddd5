// Makes log layouts of any pattern and writes a line with each, against log4cpp's own.
#include "fuzz.h"

#include <common/logger/l4cpp/logger.h>

#include <log4cpp/Layout.hh>
#include <log4cpp/LoggingEvent.hh>
#include <log4cpp/PatternLayout.hh>

#include <memory>

using common::logger::l4cpp::Logger;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    static const char* const categories[] = {"a.category", "", ".a", "a..b."};
    const char* category = categories[input.ConsumeIntegralInRange(0, 3)];
    const int priority = 100 * input.ConsumeIntegralInRange(0, 8);
    const int second = input.ConsumeIntegralInRange(0, INT_MAX);
    const int microsecond = input.ConsumeIntegralInRange(0, 999999);
    log4cpp::LoggingEvent event(category, "message \u00e9 %d", "ndc", priority);
    event.timeStamp = log4cpp::TimeStamp(unsigned(second), unsigned(microsecond));
    const QString pattern = QString::fromUtf8(Rest(input));
    const std::unique_ptr<log4cpp::Layout> layout(
        Logger::Instance()->getLayout(common::logger::patternFormat, pattern));
    if (!layout)
        return 0;
    const std::string line = layout->format(event);
    const std::string text = pattern.toStdString();
    // Milliseconds and ticks that have passed go on between two lines.
    if (text.empty() || text.find_first_of("ru") != std::string::npos)
        return 0;
    log4cpp::PatternLayout plain;
    plain.setConversionPattern(text);
    EXPECT(line == plain.format(event));
    return 0;
}
