#include "common/logger/l4cpp/appenders_p.h"

#include "common/logger/l4cpp/layouts_p.h"

#include <log4cpp/Category.hh>
#include <log4cpp/LayoutAppender.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/RollingFileAppender.hh>

#include <algorithm>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace common::logger::l4cpp {

namespace {

std::vector<log4cpp::Category*> AllCategories()
{
    const std::unique_ptr<std::vector<log4cpp::Category*>> categories(
        log4cpp::Category::getCurrentCategories());
    categories->push_back(&log4cpp::Category::getRoot());
    return *categories;
}

// Never freed as a whole: log4cpp may ask for one of them to the end of the process.
auto& Parked()
{
    static auto* parked = new std::multimap<std::string, std::unique_ptr<log4cpp::Appender>>;
    return *parked;
}

} // namespace

log4cpp::AppenderSet AttachedByReference()
{
    log4cpp::AppenderSet appenders;
    for (const log4cpp::Category* category : AllCategories()) {
        for (log4cpp::Appender* appender : category->getAllAppenders()) {
            if (!category->ownsAppender(appender))
                appenders.insert(appender);
        }
    }
    return appenders;
}

bool HasWritableLayout(log4cpp::Appender* appender)
{
    struct Access : log4cpp::LayoutAppender
    {
        using LayoutAppender::_getLayout;
    };
    auto* withLayout = dynamic_cast<log4cpp::LayoutAppender*>(appender);
    if (!withLayout)
        return true;
    const auto* layout =
        dynamic_cast<log4cpp::PatternLayout*>(&(withLayout->*(&Access::_getLayout))());
    return !layout || IsWritable(layout->getConversionPattern());
}

// A negative number in a property file has become one of billions.
void LimitBackups(log4cpp::Appender* appender)
{
    auto* file = dynamic_cast<log4cpp::RollingFileAppender*>(appender);
    if (!file || file->getMaxBackupIndex() <= mostBackups)
        return;
    const bool negative = file->getMaxBackupIndex() > std::numeric_limits<int>::max();
    file->setMaxBackupIndex(negative ? 1 : mostBackups);
}

std::unique_ptr<log4cpp::Appender> TakeOver(log4cpp::Appender* appender)
{
    const auto [first, last] = Parked().equal_range(appender->getName());
    const auto place = std::find_if(
        first, last, [appender](const auto& entry) { return entry.second.get() == appender; });
    if (place != last) {
        static_cast<void>(place->second.release()); // the caller owns it again
        appender->reopen();
    }
    Parked().erase(first, last);
    return std::unique_ptr<log4cpp::Appender>(appender);
}

void Park(std::unique_ptr<log4cpp::Appender> appender)
{
    for (log4cpp::Category* category : AllCategories())
        category->removeAppender(appender.get());
    appender->close();
    const std::string name = appender->getName();
    Parked().emplace(name, std::move(appender));
}

} // namespace common::logger::l4cpp
