#include "parsecommand.h"

#include "input.h"
#include "text.h"

#include <common/contact/numbercontext.h>
#include <common/tools/sip/normaladdress.h>
#include <common/tools/sip/sipid.h>

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace qvtool {

using tools::sip::SipId;

namespace {

const auto jsonOption = QStringLiteral("json");

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
    return {{"text", "text", text},
            {"normalised", "normalised", normal.text},
            {"dropped", "dropped", normal.dropped.join(QLatin1Char(' '))},
            {"problem", "problem", normal.reason},
            {"address", "address", address},
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

QString Json(const QList<Field>& fields)
{
    QJsonObject object;
    for (const Field& field : fields)
        object.insert(QLatin1String(field.key), field.value);
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString TableValue(const Field& field)
{
    if (field.value.isBool())
        return field.value.toBool() ? QStringLiteral("yes") : QStringLiteral("no");
    if (field.meaning)
        return QStringLiteral("%1 (%2)").arg(field.value.toInt()).arg(QLatin1String(field.meaning));
    return Visible(field.value.toString());
}

QString Table(const QList<Field>& fields)
{
    constexpr int labelWidth = 18;
    QStringList lines;
    for (const Field& field : fields) {
        const QString value = TableValue(field);
        const QString label = QLatin1String(field.label);
        lines << (value.isEmpty() ? label : label.leftJustified(labelWidth) + value);
    }
    return lines.join(QLatin1Char('\n'));
}

} // namespace

ParseCommand::ParseCommand(ToolLogger& log)
    : Command(QStringLiteral("parse"),
              QStringLiteral("Split and classify SIP addresses, Skype names and numbers."), log)
{
}

void ParseCommand::Declare(QCommandLineParser& parser)
{
    parser.addPositionalArgument(
        QStringLiteral("TEXT"),
        QStringLiteral("What a user would type or paste; without any, each line of standard input "
                       "is one, in UTF-8 (what is not, is replaced). A text that begins with '-' "
                       "goes behind '--'."),
        QStringLiteral("[TEXT...]"));
    parser.addOption({jsonOption, QStringLiteral("Print a JSON object a line instead of tables.")});
}

void ParseCommand::Configure(Arguments& arguments)
{
    texts_ = arguments.AllPositionals({});
    json_ = arguments.Has(jsonOption);
}

QString ParseCommand::Stop()
{
    return QStringLiteral("not all of the input was read");
}

void ParseCommand::Start()
{
    if (texts_.isEmpty()) {
        Input* input = ReadInput();
        connect(input, &Input::arrived, this, [=] { ShowLines(*input); });
        connect(input, &Input::ended, this, [=] {
            const QByteArray rest = input->TakeRest();
            FinishWritten(rest.isEmpty() || ShowLine(rest));
        });
        return;
    }
    FinishWritten(std::all_of(texts_.cbegin(), texts_.cend(),
                              [this](const QString& text) { return Show(text); }));
}

void ParseCommand::ShowLines(Input& input)
{
    QByteArray line;
    while (input.TakeLine(line)) {
        if (!ShowLine(line))
            return FinishWritten(false);
    }
}

bool ParseCommand::ShowLine(const QByteArray& line)
{
    return Show(QString::fromUtf8(line.constData(), line.size())); // zero characters, too
}

bool ParseCommand::Show(const QString& text)
{
    const QList<Field> fields = Describe(text);
    const QString separator = json_ || shownTexts_++ == 0 ? QString() : QStringLiteral("\n");
    return PrintLine(stdout, separator + (json_ ? Json(fields) : Table(fields)));
}

} // namespace qvtool
