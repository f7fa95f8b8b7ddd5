#pragma once

#include "common/qvcommon_export.h"

#include <QCoreApplication>
#include <QString>

class QtLocalPeer;

/** QtSingleApplication without windows: see there. */
class QVCOMMON_EXPORT QtSingleCoreApplication : public QCoreApplication
{
    Q_OBJECT

public:
    /** With the path of the program's file as its id. */
    QtSingleCoreApplication(int& argc, char** argv);
    /** With an id of any text: programs of the same id are instances of each other. */
    QtSingleCoreApplication(const QString& id, int& argc, char** argv);
    ~QtSingleCoreApplication() override;

    /** Whether another instance runs. If none does, this one is the first from now on. */
    bool isRunning();
    /** The id; see QtLocalPeer::applicationId(). */
    QString id() const;

    /** As isRunning(); kept for callers of old. */
    void initialize(bool dummy = true);

public Q_SLOTS:
    /** See QtLocalPeer::sendMessage(); @p timeout in milliseconds. */
    bool sendMessage(const QString& message, int timeout = 5000);

Q_SIGNALS:
    /** Another instance has sent a message to this one. */
    void messageReceived(const QString& message);

private:
    QtLocalPeer* peer_; // a child
};
