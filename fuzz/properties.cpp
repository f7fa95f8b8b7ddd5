// Configures the log4cpp backend from any property file, and logs.
#include "fuzz.h"

#include <common/logger/l4cpp/logger.h>

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <log4cpp/Appender.hh>
#include <log4cpp/Category.hh>

#include <fcntl.h>
#include <iostream>
#include <sys/mman.h>
#include <unistd.h>

using common::logger::ICategory;
using common::logger::IMessage;
using common::logger::l4cpp::Logger;

namespace {

// Files are written to an empty directory, lines for the console nowhere.
struct Place
{
    Place()
    {
        EXPECT(QDir::setCurrent(directory.path()));
        std::cout.rdbuf(nullptr);
        clearenv();
    }

    const QTemporaryDir directory{"/dev/shm/fuzz-XXXXXX"};
    const int file = memfd_create("properties", 0);
    const QString path = QStringLiteral("/proc/self/fd/%1").arg(file);
};

// What a property file may ask for, but not here: files elsewhere, the network, the process's end,
// categories without end, which log4cpp never frees.
bool IsHarmless(const QByteArray& content)
{
    static const QRegularExpression harm("/|Syslog|Abort|category\\.[^=\n]{2}");
    return !QString::fromLatin1(content).contains(harm);
}

void Configure(const QString& path)
{
    Logger logger;
    for (int round = 0; round < 2; ++round) {
        const bool configured = logger.Configure(path);
        EXPECT(configured || log4cpp::Category::getRoot().getAllAppenders().empty());
        for (const ICategory category : {ICategory{""}, ICategory{"a"}, ICategory{"b"}}) {
            for (const auto level : {IMessage::EMERG, IMessage::DEBUG})
                common::logger::Message(&logger, &category, level, "src/file", "function", 1)
                    << "a line";
        }
    }
}

} // namespace

// log4cpp frees neither the appenders of a file that it refuses nor those that it does not attach.
extern "C" const char* __asan_default_options();
const char* __asan_default_options()
{
    return "detect_leaks=0";
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const Place place;
    const QByteArray content = QByteArray(reinterpret_cast<const char*>(data), int(size));
    if (!IsHarmless(content))
        return 0;
    EXPECT(ftruncate(place.file, 0) == 0);
    EXPECT(pwrite(place.file, content.constData(), size_t(content.size()), 0) == content.size());

    Configure(place.path);
    log4cpp::Appender::closeAll();
    for (const QFileInfo& written : QDir().entryInfoList(QDir::Files | QDir::Hidden))
        QFile::remove(written.filePath());
    return 0;
}
