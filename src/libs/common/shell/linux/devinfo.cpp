#include "common/shell/linux/devinfo.h"

#include "common/shell/linux/deviceidentity_p.h"
#include "common/tools/string/converter.h"

namespace common::shell {

QString DeviceInfo::GetSerialNumber()
{
    DeviceIdentity identity;
    static const auto* serialNumber = new QString(identity.GetSystemUUID()); // never freed
    identity.Log(); // not before: a logger may ask for the serial number
    return *serialNumber;
}

QString DeviceInfo::GetSerialNumberMD5Hash(const QString& text)
{
    return tools::string::converter::ToMD5(text + GetSerialNumber());
}

} // namespace common::shell
