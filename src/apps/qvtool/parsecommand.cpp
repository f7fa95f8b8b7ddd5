#include "commands.h"
#include "console.h"

#include <common/contact/numbercontext.h>
#include <common/tools/sip/normaladdress.h>
#include <common/tools/sip/sipid.h>

#include <QJsonDocument>
#include <QJsonObject>

namespace qvtool {

using tools::sip::SipId;

namespace {

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

QByteArray Json(const QList<Field>& fields)
{
    QJsonObject object;
    for (const Field& field : fields)
        object.insert(field.key, field.value);
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QString TableValue(const Field& field)
{
    if (field.value.isBool())
        return field.value.toBool() ? "yes" : "no";
    if (field.meaning)
        return QString("%1 (%2)").arg(field.value.toInt()).arg(field.meaning);
    return Escaped(field.value.toString());
}

QByteArray Table(const QList<Field>& fields)
{
    constexpr int labelWidth = 18;
    QString table;
    for (const Field& field : fields) {
        const QString value = TableValue(field);
        const QString label = field.label;
        table += (value.isEmpty() ? label : label.leftJustified(labelWidth) + value) + '\n';
    }
    return table.toUtf8();
}

// Shows text after text, and remembers whether all of them are addresses.
struct Display
{
    bool Show(const QString& text)
    {
        const QList<Field> fields = Describe(text);
        if (!fields.first().value.toBool())
            code = IsNot;
        const QByteArray separator = isJson || isFirst ? "" : "\n";
        isFirst = false;
        return PrintBytes(stdout, isJson ? Json(fields) : separator + Table(fields));
    }

    bool isJson;
    bool isFirst = true;
    int code = Success;
};

int Parse(Call& call)
{
    Display display = {call.Has("json")};
    bool written = true;
    for (const QString& text : call.Positionals())
        written = written && display.Show(text);
    if (!call.Positionals().isEmpty())
        return call.Written(written, display.code);

    Input input;
    for (QByteArray line; written && input.TakeLine(line);)
        written = display.Show(QString::fromUtf8(line.constData(), line.size())); // zeros, too
    const auto problem = call.InputProblem(input);
    return problem ? *problem : call.Written(written, display.code);
}

} // namespace

const Command parseCommand = {
    "parse",
    "Split and classify SIP addresses, Skype names and telephone numbers.",
    {{"[TEXT...]",
      "What a user would type or paste; without arguments, each line of standard input. Invalid "
      "UTF-8 is replaced. Put '--' before a text that begins with '-'. In the result, the check "
      "code is about the text as given, the fields are about its normalised form."}},
    {jsonOption},
    &Parse,
    "3 a text is not an address, ",
};

} // namespace qvtool
