// A window that shows what the library does.

#include "gallerywindow.h"
#include "theme.h"

#include <QtSingleApplication>

#include <QCommandLineParser>

#include <cstdio>
#include <cstring>

namespace {

int TakePictures(GalleryWindow& window, const QString& file)
{
    window.show();
    const QStringList files = window.TakePictures(file);
    for (const QString& name : files)
        puts(qPrintable(name));
    if (files.isEmpty())
        fprintf(stderr, "gallery: cannot write pictures beside '%s'\n", qPrintable(file));
    return files.isEmpty() ? 1 : 0;
}

// Pictures are taken without a screen; Qt wants to know before it sees the options.
bool WantsPictures(int argc, char* argv[])
{
    for (int i = 1; i < argc; ++i) {
        if (strncmp(argv[i], "--screenshot", strlen("--screenshot")) == 0)
            return true;
    }
    return false;
}

const QStringList themeNames = {"system", "light", "dark"}; // in the order of theme::Kind

} // namespace

int main(int argc, char* argv[])
{
    if (WantsPictures(argc, argv))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
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
                      "Draw each page, without a screen, into a PNG file whose name "
                      "is made from FILE and the page's title.",
                      "FILE"});
    parser.process(application);
    const int palette = themeNames.indexOf(parser.value("palette"));
    if (palette < 0) {
        fputs("gallery: --palette takes system, light or dark\n", stderr);
        return 2;
    }
    const QString address = parser.positionalArguments().value(0);
    const bool pictures = parser.isSet("screenshot");
    if (!pictures && application.isRunning())
        return application.sendMessage(address) ? 0 : 1;

    theme::Apply(static_cast<theme::Kind>(palette));
    GalleryWindow window;
    if (pictures)
        return TakePictures(window, parser.value("screenshot"));
    application.setActivationWindow(&window);
    QObject::connect(&application, &QtSingleApplication::messageReceived, &window,
                     &GalleryWindow::Dial);
    window.Dial(address);
    window.show();
    return QApplication::exec();
}
