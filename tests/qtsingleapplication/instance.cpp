// One instance of an application, for tst_singleinstance to start several of.

#include <qtsingleapplication/qtsingleapplication.h>
#include <qtsingleapplication/qtsinglecoreapplication.h>

#include <cstdio>
#include <functional>
#include <string>

namespace {

// The first one tells what it gets until it is told to quit, others say hello.
template <typename Application>
int Run(Application& application)
{
    if (application.isRunning())
        return application.sendMessage("hello", 20000) ? 0 : 1;
    QObject::connect(&application, &Application::messageReceived, [](const QString& message) {
        if (message == "quit")
            QCoreApplication::quit();
        else
            puts(QByteArray::number(quint64(std::hash<std::u16string>()(message.toStdU16String())))
                     .constData());
    });
    puts("server");
    return application.exec();
}

} // namespace

int main(int argc, char* argv[]) // ID
{
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    const QString id = argv[1];
    if (!id.startsWith("window")) {
        QtSingleCoreApplication application(id, argc, argv);
        return Run(application);
    }
    QtSingleApplication application(id, argc, argv);
    QWidget window;
    window.showMinimized();
    application.setActivationWindow(&window, id == "window activated");
    QObject::connect(&application, &QtSingleApplication::messageReceived,
                     [&] { puts(window.isMinimized() ? "minimized" : "raised"); });
    return Run(application);
}
