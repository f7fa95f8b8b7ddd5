// A program for tests that need a real desktop: an X server, an icon theme, a high-DPI screen.

#include <common/logger/logger.h>
#include <common/tools/fileiconprovider.h>
#include <common/tools/idlewatcher.h>
#include <common/tools/svg/svgicon.h>

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QThread>
#include <QX11Info>

#include <cstdio>
#include <sys/inotify.h>
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

// The icons of the suffixes, and how many temporary files they took.
void PrintIcons(const QStringList& suffixes)
{
    const int events = inotify_init1(IN_NONBLOCK);
    inotify_add_watch(events, QFile::encodeName(QDir::tempPath()).constData(), IN_CREATE);
    const tools::FileIconProvider provider;
    for (const QString& suffix : suffixes) {
        const QIcon icon = provider.icon(QFileInfo("no-such-file" + suffix));
        Say(icon.isNull() ? "null" : Describe(icon));
        if (provider.icon(QFileInfo("other" + suffix)).cacheKey() != icon.cacheKey())
            Say("not from the cache");
    }
    int files = 0;
    alignas(inotify_event) char buffer[4096];
    for (ssize_t size = read(events, buffer, sizeof buffer), at = 0; at < size; ++files)
        at += ssize_t(sizeof(inotify_event)) +
              reinterpret_cast<const inotify_event*>(buffer + at)->len;
    Say(QString("%1 files").arg(files));
}

// On a high-DPI screen: the pictures of an overlay series, and their middle pixel.
void PrintOverlay(const QString& base, const QString& overlay)
{
    const QList<QIcon> icons = tools::svg::SvgIcon::CreateFromTwoSvgWithOverlay(base, overlay, 2);
    for (const QIcon& icon : icons) {
        const QImage image = icon.pixmap(32).toImage();
        Say(QString("%1 sizes, %2 px, %3")
                .arg(icon.availableSizes().size())
                .arg(image.width())
                .arg(image.pixelColor(image.rect().center()).name()));
    }
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
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
    else if (command == "overlay")
        PrintOverlay(arguments.value(2), arguments.value(3));
}
