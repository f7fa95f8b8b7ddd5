#include "common/shell/linux/devinfo.h"

#include "common/shell/linux/deviceidentity_p.h"
#include "common/tools/string/converter.h"

namespace common::shell {

QString DeviceInfo::GetSerialNumber()
{
    static const auto* serialNumber = new QString(DeviceIdentity().SerialNumber()); // never freed
    return *serialNumber;
}

QString DeviceInfo::GetSerialNumberMD5Hash(const QString& text)
{
    return tools::string::converter::ToMD5(text + GetSerialNumber());
}

} // namespace common::shell
