#pragma once

#include "common/qvcommon_export.h"

#include <QApplication>
#include <QPointer>
#include <QString>
#include <QWidget>

class QtLocalPeer;

/**
 * An application of which one instance runs for a user and session; another one hands its message
 * to the first and ends.
 *
 * @code
 * int main(int argc, char* argv[])
 * {
 *     QtSingleApplication application("client.example.test", argc, argv);
 *     if (application.isRunning())
 *         return application.sendMessage(argc > 1 ? argv[1] : "") ? 0 : 1;
 *     Client window;
 *     application.setActivationWindow(&window);
 *     // Any program may send a number: ask before it is dialled.
 *     QObject::connect(&application, &QtSingleApplication::messageReceived, &window,
 *                      &Client::OfferToDial);
 *     window.show();
 *     return application.exec();
 * }
 * @endcode
 *
 * See QtLocalPeer for how instances find each other.
 */
class QVCOMMON_EXPORT QtSingleApplication : public QApplication
{
    Q_OBJECT

public:
    /** With the path of the program's file as its id. @p GUIenabled has no meaning any more. */
    QtSingleApplication(int& argc, char** argv, bool GUIenabled = true);
    /** With an id of any text: programs of the same id are instances of each other. */
    QtSingleApplication(const QString& id, int& argc, char** argv);
    ~QtSingleApplication() override;

    /** Whether another instance runs. If none does, this one is the first from now on. */
    bool isRunning();
    /** The id; see QtLocalPeer::applicationId(). */
    QString id() const;

    /**
     * The window that activateWindow() raises; not owned.
     *
     * @param window            null for none
     * @param activateOnMessage raise it at each message, too
     */
    void setActivationWindow(QWidget* window, bool activateOnMessage = true);
    /** The window, or null: none was set, or it is gone. */
    QWidget* activationWindow() const;

    /** As isRunning(); kept for callers of old. */
    void initialize(bool dummy = true);

public Q_SLOTS:
    /** See QtLocalPeer::sendMessage(); @p timeout in milliseconds. */
    bool sendMessage(const QString& message, int timeout = 5000);
    /** Shows the activation window, if there is one, in front of others. */
    void activateWindow();

Q_SIGNALS:
    /** Another instance has sent a message to this one. */
    void messageReceived(const QString& message);

private:
    QtLocalPeer* peer_; // a child
    QPointer<QWidget> window_;
    bool activateOnMessage_ = false;
};
