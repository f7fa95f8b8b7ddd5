// A window that shows what the library does.

#include "gallerywindow.h"
#include "theme.h"

#include <QtSingleApplication>

#include <QCommandLineParser>
#include <QScreen>

#include <algorithm>
#include <cstdio>

namespace {

int TakePictures(GalleryWindow& window, const QString& directory,
                 const QList<theme::Kind>& palettes)
{
    window.show();
    const QStringList files = window.TakePictures(directory, palettes);
    for (const QString& name : files)
        puts(qPrintable(name));
    if (files.isEmpty())
        fprintf(stderr, "gallery: cannot write pictures into '%s'\n", qPrintable(directory));
    return files.isEmpty() ? 1 : 0;
}

void SharpenPictures()
{
#if QT_VERSION_MAJOR < 6 // which needs to be told
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
#endif
}

} // namespace

int main(int argc, char* argv[])
{
    // Pictures are taken without a screen; Qt wants to know before it sees the options.
    if (std::any_of(argv, argv + argc, [](const char* argument) {
            return QByteArray(argument).startsWith("--screenshot");
        }))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    SharpenPictures();
    QtSingleApplication application("libqvcommon-gallery", argc, argv);
    QCoreApplication::setApplicationName("gallery");

    QCommandLineParser parser;
    parser.setApplicationDescription("A window that shows what libqvcommon does.");
    parser.addHelpOption();
    parser.addPositionalArgument("ADDRESS",
                                 "Show what this address is; in the window that is open "
                                 "already, if there is one.",
                                 "[ADDRESS]");
    parser.addOption({"palette", "Colours: system, light or dark.", "NAME", "system"});
    parser.addOption({"screenshot",
                      "Draw each page, without a screen, into PNG files in DIR; in the light and "
                      "the dark palette unless --palette names one.",
                      "DIR"});
    parser.process(application);
    const int palette = theme::Names().indexOf(parser.value("palette"));
    if (palette < 0) {
        fputs("gallery: --palette takes system, light or dark\n", stderr);
        return 2;
    }
    const QString address = parser.positionalArguments().value(0);
    const bool pictures = parser.isSet("screenshot");
    if (!pictures && application.isRunning())
        return application.sendMessage(address) ? 0 : 1;

    const auto kind = static_cast<theme::Kind>(palette);
    theme::ApplyStyle();
    theme::ApplyPalette(kind);
    GalleryWindow window;
    if (pictures)
        return TakePictures(window, parser.value("screenshot"),
                            parser.isSet("palette")
                                ? QList<theme::Kind>{kind}
                                : QList<theme::Kind>{theme::Light, theme::Dark});
    window.resize(window.size().boundedTo(window.screen()->availableSize()));
    application.setActivationWindow(&window);
    QObject::connect(&application, &QtSingleApplication::messageReceived, &window,
                     &GalleryWindow::Dial);
    window.Dial(address);
    window.show();
    return QApplication::exec();
}
