#include "common/logger/l4cpp/appenders_p.h"

#include <log4cpp/Category.hh>
#include <log4cpp/RollingFileAppender.hh>

#include <limits>
#include <memory>
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

// A negative number in a property file has become one of billions.
void LimitBackups(log4cpp::Appender* appender)
{
    auto* file = dynamic_cast<log4cpp::RollingFileAppender*>(appender);
    if (!file || file->getMaxBackupIndex() <= mostBackups)
        return;
    const bool negative = file->getMaxBackupIndex() > std::numeric_limits<int>::max();
    file->setMaxBackupIndex(negative ? 1 : mostBackups);
}

void DetachEverywhere(log4cpp::Appender* appender)
{
    for (log4cpp::Category* category : AllCategories())
        category->removeAppender(appender);
}

} // namespace common::logger::l4cpp
