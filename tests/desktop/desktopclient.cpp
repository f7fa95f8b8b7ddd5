// A program for tests that need a real desktop: an X server, an icon theme.

#include <common/logger/logger.h>
#include <common/tools/fileiconprovider.h>
#include <common/tools/idlewatcher.h>

#include <QApplication>
#include <QFileInfo>
#include <QImage>
#include <QThread>
#include <QX11Info>

#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>

#include <xcb/xcb.h>

namespace {

void Say(const QString& line)
{
    puts(qPrintable(line));
    fflush(stdout);
}

void PrintIdleSeconds(int polls)
{
    const common::XcbIdleBackend backend;
    for (; polls > 0; --polls) {
        Say(QString::number(backend.getSeconds()));
        QThread::msleep(250);
    }
}

void BreakConnection()
{
    const common::XcbIdleBackend backend;
    shutdown(xcb_get_file_descriptor(QX11Info::connection()), SHUT_RDWR);
    Say(QString::number(backend.getSeconds()));
    Say(QString::number(backend.getSeconds()));
    _exit(0); // Qt itself does not survive it
}

QString Describe(const QIcon& icon)
{
    const QImage image = icon.pixmap(32).toImage();
    return QString("%1 sizes, picture %2")
        .arg(icon.availableSizes().size())
        .arg(qHashBits(image.constBits(), size_t(image.sizeInBytes())));
}

void PrintIcons(const QStringList& suffixes)
{
    const tools::FileIconProvider provider;
    for (const QString& suffix : suffixes) {
        const QIcon icon = provider.icon(QFileInfo("no-such-file" + suffix));
        Say(icon.isNull() ? "null" : Describe(icon));
        if (provider.icon(QFileInfo("other" + suffix)).cacheKey() != icon.cacheKey())
            Say("not from the cache");
    }
}

} // namespace

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    common::logger::GetLogger()->SetLevel(common::logger::IMessage::DEBUG);
    const QStringList arguments = QCoreApplication::arguments();
    const QString command = arguments.value(1);
    if (command == "idle")
        PrintIdleSeconds(arguments.value(2).toInt());
    else if (command == "break")
        BreakConnection();
    else if (command == "icons")
        PrintIcons(arguments.mid(2));
}
