// One instance of an application, for tst_singleinstance to start several of.

#include <qtsingleapplication/qtsingleapplication.h>
#include <qtsingleapplication/qtsinglecoreapplication.h>

#include <cstdio>
#include <functional>
#include <string>

namespace {

void Say(const QByteArray& line)
{
    puts(line.constData());
    fflush(stdout);
}

// The first one tells what it gets until it is told to quit, others tell it their text.
template <typename Application>
int Run(Application& application, const QString& text)
{
    if (application.isRunning()) {
        Say("client");
        return application.sendMessage(text, 20000) ? 0 : 1;
    }
    QObject::connect(&application, &Application::messageReceived, [](const QString& message) {
        if (message == "quit")
            QCoreApplication::quit();
        else
            Say(QByteArray::number(quint64(std::hash<std::u16string>()(message.toStdU16String()))));
    });
    Say("server");
    return application.exec();
}

} // namespace

int main(int argc, char* argv[]) // ID TEXT
{
    const QString id = argv[1], text = argv[2];
    if (!id.startsWith("window")) {
        QtSingleCoreApplication application(id, argc, argv);
        return Run(application, text);
    }
    QtSingleApplication application(id, argc, argv);
    QWidget window;
    window.showMinimized();
    application.setActivationWindow(&window, id == "window activated");
    QObject::connect(&application, &QtSingleApplication::messageReceived,
                     [&] { Say(window.isMinimized() ? "minimized" : "raised"); });
    return Run(application, text);
}
