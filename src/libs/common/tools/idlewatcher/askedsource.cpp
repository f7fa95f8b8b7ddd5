#include "common/tools/idlewatcher/askedsource_p.h"

#include "common/logger/log.h"

#include <atomic>

namespace common {

namespace {

constexpr logger::ICategory logCategory{"common.idle"};
constexpr char logSource[] = "src/libs/common/tools/idlewatcher/askedsource";

} // namespace

AskedSource::AskedSource()
{
    clock_.start();
}

int AskedSource::Seconds() const
{
    if (clock_.elapsed() > patience)
        TellOnce();
    else if (isKnown_)
        return static_cast<int>(Milliseconds() / 1000);
    return unknown;
}

void AskedSource::Answered()
{
    isKnown_ = hasAnswered_ = true;
    clock_.start();
}

void AskedSource::Failed()
{
    isAbsent_ = !hasAnswered_;
    isKnown_ = false;
    if (hasAnswered_)
        TellOnce();
}

void AskedSource::TellOnce() const
{
    static std::atomic_flag told = ATOMIC_FLAG_INIT;
    if (!told.test_and_set())
        QVLOG_FROM("getSeconds", WARN)
            << Name() << " does not tell how long the user is idle; asking again";
}

} // namespace common
