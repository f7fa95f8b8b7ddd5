#include "client.h"

#include <common/logger/ilogger.h>

//! [statement]
#include <common/logger/log.h>

namespace {
constexpr common::logger::ICategory logCategory{"client.calls"};
constexpr char logSource[] = "src/client/calls";
} // namespace

void Client::Dial(const QString& address)
{
    QVLOG(INFO) << "dialling '" << address << "'";
}
//! [statement]

void Client::Record(const QString& file)
{
    //! [second category]
    static constexpr common::logger::ICategory mediaCategory{"client.media"};
    QVLOG_TO(mediaCategory, INFO) << "recording into '" << file << "'";
    //! [second category]
}

void Client::LogToFile(const QString& config, const QString& logs)
{
    //! [file]
    using namespace common::logger;
    ILogger* log = GetLog4cpp();
    SetLogger(log); // before anything logs
    log->Configure(IMessage::INFO, rollingFileOutput, patternFormat | positionFormat,
                   "%d{%Y-%m-%d %H:%M:%S.%l} %6p [%5t] %c: %m%n", "qt", config + "/log.properties",
                   logs + "/client.log", 10'000'000, 5);
    //! [file]
}

void Client::LogToScreen()
{
    //! [screen]
    common::logger::GetLogger()->SetLevel(common::logger::IMessage::DEBUG);
    //! [screen]
}

//! [own logger]
class ForwardingLogger : public common::logger::ILogger
{
public:
    void Append(const common::logger::IMessage& message) override
    {
        if (message.Level() <= level)
            Forward(message.Category()->name, message.Text());
    }
    common::logger::IMessage::Priority GetLevel() const override { return level; }
    void SetLevel(common::logger::IMessage::Priority newLevel) override { level = newLevel; }
    bool IsPositionEnabled() const override { return false; }
    void EnablePosition(bool) override {}
    bool Configure(const QString&) override { return false; }
    bool Configure(common::logger::IMessage::Priority newLevel, unsigned int, unsigned int,
                   const QString&, const QString&, const QString&, const QString&, unsigned long,
                   int) override
    {
        level = newLevel;
        return true;
    }
    void Destroy() override { delete this; }
    void SetFileLoggingEnabled(bool) override {}

private:
    void Forward(const char* category, const QString& text);

    common::logger::IMessage::Priority level = common::logger::IMessage::NOTSET;
};
//! [own logger]

void Client::LogElsewhere()
{
    //! [install]
    ForwardingLogger logger;
    common::logger::ILogger* previous = common::logger::SetLogger(&logger);
    //! [install]
    //! [put back]
    common::logger::SetLogger(previous);
    //! [put back]
}
