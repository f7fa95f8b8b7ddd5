#include "client.h"

#include <QtLockedFile>
#include <QtSingleApplication>

void Client::UpdateShared(const QString& path)
{
    //! [locked file]
    QtLockedFile file(path);
    if (file.open(QIODevice::ReadWrite) && file.lock(QtLockedFile::WriteLock))
        Update(file); // nobody else does; unlocked when the file is closed
    //! [locked file]
}

//! [single instance]
int main(int argc, char* argv[])
{
    QtSingleApplication application("client.example.test", argc, argv);
    if (application.isRunning())
        return application.sendMessage(argc > 1 ? argv[1] : "") ? 0 : 1;
    Client window;
    application.setActivationWindow(&window);
    // Any program may send a number: ask before it is dialled.
    QObject::connect(&application, &QtSingleApplication::messageReceived, &window,
                     &Client::OfferToDial);
    window.show();
    return application.exec();
}
//! [single instance]
