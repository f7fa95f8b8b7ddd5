#include "qtsingleapplication/qtsingleapplication.h"

#include "qtsingleapplication/qtlocalpeer.h"

QtSingleApplication::QtSingleApplication(int& argc, char** argv, bool)
    : QtSingleApplication(QString(), argc, argv)
{
}

QtSingleApplication::QtSingleApplication(const QString& id, int& argc, char** argv)
    : QApplication(argc, argv), peer_(new QtLocalPeer(this, id))
{
    connect(peer_, &QtLocalPeer::messageReceived, this, [this](const QString& message) {
        if (activateOnMessage_)
            activateWindow();
        Q_EMIT messageReceived(message);
    });
}

QtSingleApplication::~QtSingleApplication() = default;

bool QtSingleApplication::isRunning()
{
    return peer_->isClient();
}

QString QtSingleApplication::id() const
{
    return peer_->applicationId();
}

void QtSingleApplication::setActivationWindow(QWidget* window, bool activateOnMessage)
{
    window_ = window;
    activateOnMessage_ = activateOnMessage;
}

QWidget* QtSingleApplication::activationWindow() const
{
    return window_;
}

void QtSingleApplication::initialize(bool)
{
    isRunning();
}

bool QtSingleApplication::sendMessage(const QString& message, int timeout)
{
    return peer_->sendMessage(message, timeout);
}

void QtSingleApplication::activateWindow()
{
    if (!window_)
        return;
    window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
    window_->show();
    window_->raise();
    window_->activateWindow();
}
