#include "command.h"
#include "console.h"

#include <common/contact/numbercontext.h>
#include <common/tools/sip/normaladdress.h>
#include <common/tools/sip/sipid.h>

namespace qvtool {

using tools::sip::SipId;

namespace {

constexpr int labelWidth = 18;

const char* const kinds[] = {"account of the service", "telephone number", "SIP address",
                             "Skype name"};
const char* const checks[] = {"an identifier of the service", "no domain, or another one",
                              "forbidden characters", "empty or wrongly formed"};

struct Field
{
    const char* key;
    const char* label;
    QJsonValue value;
    const char* meaning = nullptr;
};

QList<Field> Describe(const QString& text)
{
    const auto normal = tools::sip::Normalise(text);
    const QString read = normal.problem ? text : normal.text;
    QString user;
    QString host;
    QString displayName;
    QString postDial;
    QString port;
    const bool address = SipId::ParseURIEx(read, user, host, displayName, postDial, port);
    const auto number = common::contact::number::CreateInstance(read);
    const int check = SipId::Check(text);
    return {{"address", "address", address},
            {"text", "text", text},
            {"normalised", "normalised", normal.text},
            {"dropped", "dropped", normal.dropped.join(' ')},
            {"problem", "problem", normal.reason},
            {"kind", "kind", number->Type(), kinds[number->Type()]},
            {"user", "user", user},
            {"host", "host", host},
            {"port", "port", port},
            {"postDial", "post-dial digits", postDial},
            {"displayName", "display name", normal.problem ? displayName : normal.displayName},
            {"contactNumber", "contact number", number->ContactNumber()},
            {"number", "number", number->Number()},
            {"uri", "URI", number->URI()},
            {"check", "check code", check, checks[check]}};
}

QString TableValue(const Field& field)
{
    if (field.value.isBool())
        return field.value.toBool() ? "yes" : "no";
    if (field.meaning)
        return QString("%1 (%2)").arg(field.value.toInt()).arg(field.meaning);
    return Escaped(field.value.toString());
}

// Whether the text is an address.
bool Show(const Call& call, const QString& text)
{
    const QList<Field> fields = Describe(text);
    QStringList table;
    QJsonObject object;
    for (const Field& field : fields) {
        table << (QString(field.label).leftJustified(labelWidth) + TableValue(field)).trimmed();
        object.insert(field.key, field.value);
    }
    call.Report(table.join('\n') + '\n', object);
    return fields.first().value.toBool();
}

int Parse(Call& call)
{
    const QStringList given = call.Positionals();
    bool areAddresses = true;
    for (const QString& text : given)
        areAddresses = Show(call, text) && areAddresses;
    if (given.isEmpty())
        call.AskFor("one address a line");
    for (QByteArray line; given.isEmpty() && ReadLine(line); line.clear()) {
        const QByteArray text = WithoutLineEnd(line);
        areAddresses = Show(call, QString::fromUtf8(text.constData(), text.size())) // zeros, too
                       && areAddresses;
    }
    return areAddresses ? Success : IsNot;
}

} // namespace

const Command parseCommand = {
    "parse",
    "Classify SIP addresses, Skype names and telephone numbers.",
    {{"[TEXT...]",
      "What a user would type or paste; without arguments, each line of standard input. Invalid "
      "UTF-8 is replaced. Put '--' before a text that begins with '-'. In the result, the check "
      "code is about the text as given, the fields are about its normalised form."}},
    {jsonOption},
    &Parse,
    "  3 a text is not an address,\n",
};

} // namespace qvtool
