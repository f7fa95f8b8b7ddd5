#include "qtsingleapplication/qtsinglecoreapplication.h"

#include "qtsingleapplication/qtlocalpeer.h"

QtSingleCoreApplication::QtSingleCoreApplication(int& argc, char** argv)
    : QtSingleCoreApplication(QString(), argc, argv)
{
}

QtSingleCoreApplication::QtSingleCoreApplication(const QString& id, int& argc, char** argv)
    : QCoreApplication(argc, argv), peer_(new QtLocalPeer(this, id))
{
    connect(peer_, &QtLocalPeer::messageReceived, this, &QtSingleCoreApplication::messageReceived);
}

QtSingleCoreApplication::~QtSingleCoreApplication() = default;

bool QtSingleCoreApplication::isRunning()
{
    return peer_->isClient();
}

QString QtSingleCoreApplication::id() const
{
    return peer_->applicationId();
}

void QtSingleCoreApplication::initialize(bool)
{
    isRunning();
}

bool QtSingleCoreApplication::sendMessage(const QString& message, int timeout)
{
    return peer_->sendMessage(message, timeout);
}
