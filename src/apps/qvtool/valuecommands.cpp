// Commands that run to their end at once.

#include "command.h"
#include "console.h"

#include <common/shell/linux/devinfo.h>
#include <common/shell/shell.h>
#include <common/tools/version.h>

#include <QFileInfo>
#include <QRegularExpression>

namespace qvtool {

using common::Version;
using common::shell::DeviceInfo;

namespace {

// The library takes any text for a version; a user should know about a slip.
bool IsVersion(const QString& text)
{
    static const QRegularExpression form("\\A[0-9]+([-,_.][0-9]+){0,3}\\z");
    static const QRegularExpression separator("[-,_.]");
    bool fits = form.match(text).hasMatch();
    for (const QString& part : text.split(separator)) {
        bool isNumber = false;
        static_cast<void>(part.toUInt(&isNumber));
        fits = fits && isNumber;
    }
    return fits;
}

int Compare(Call& call)
{
    for (const QString& text : call.Positionals()) {
        if (!IsVersion(text))
            Reject(QString("'%1' is not a version: one to four 32-bit numbers, separated by '.', "
                           "'-', '_' or ','")
                       .arg(text));
    }
    const Version first(call.Positional(0));
    const Version second(call.Positional(1));
    const bool isLess = first < second;
    const bool isGreater = first > second;
    const QString sign = isLess ? "<" : isGreater ? ">" : "=";
    call.Report(first.ToString() + ' ' + sign + ' ' + second.ToString(),
                {{"first", first.ToString()}, {"sign", sign}, {"second", second.ToString()}});
    return isLess ? IsLess : isGreater ? IsGreater : Success;
}

int ShowDeviceId(Call& call)
{
    const QString id = call.Has("salt") ? DeviceInfo::GetSerialNumberMD5Hash(call.Text("salt"))
                                        : DeviceInfo::GetSerialNumber();
    call.Report(id, {{"id", id}});
    return Success;
}

int Reveal(Call& call)
{
    const QString path = call.Positional(0);
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        Fail(QString("cannot show '%1': it does not exist").arg(path));
    if (!common::Shell::ShowFile(path))
        Fail(call.Log().LastFailure("ShowFile"));
    return Success;
}

} // namespace

const Command compareCommand = {
    "compare",
    "Compare two versions.",
    {{"FIRST", "Version such as 5.1.0.12: one to four numbers; missing ones are 0."},
     {"SECOND", "Version to compare it with."}},
    {jsonOption},
    &Compare,
    "  3 FIRST is less than SECOND, 4 it is greater,\n",
};

const Command deviceIdCommand = {
    "device-id",
    "Print an identity of this machine.",
    {},
    {{"salt",
      "Print an identity derived from it and TEXT instead. Identities with different texts "
      "cannot be linked to each other.",
      "TEXT"},
     jsonOption},
    &ShowDeviceId,
};

const Command revealCommand = {
    "reveal",
    "Show a file in the file manager.",
    {{"FILE", "File to show; it is selected if the file manager supports that."}},
    {},
    &Reveal,
};

} // namespace qvtool
