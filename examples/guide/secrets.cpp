#include "client.h"

#include <common/shell/linux/devinfo.h>
#include <common/tools/cipher/aes.h>
#include <common/tools/jsonfile.h>

void Client::StorePassword(const QString& password)
{
    //! [cipher]
    using tools::cipher::AES;
    const QString stored = AES::encryptPair("password", password); // with this user's key
    const QString back = AES::decryptPair("password", stored);     // null under another name
    //! [cipher]
    Q_ASSERT(back == password);
}

void Client::StoreSettings(const QString& path)
{
    //! [json]
    tools::JsonFile settings(path);
    if (!settings.Load() || !settings.isObject())
        settings.setObject(Defaults());
    //! [json]
    //! [json save]
    if (!settings.Save())
        ShowProblem(path);
    //! [json save]

    //! [device]
    const QString id = common::shell::DeviceInfo::GetSerialNumberMD5Hash("licence");
    //! [device]

    //! [json key]
    tools::JsonFile accounts(path, "a key of up to 32 bytes");
    accounts.setObject({{"user", "jane"}, {"device", id}});
    if (!accounts.Save())
        ShowProblem(path);
    //! [json key]
}
