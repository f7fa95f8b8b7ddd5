#include "text.h"

namespace qvtool {

QString HumanSize(qint64 bytes)
{
    constexpr double step = 1024;
    const char* const units[] = {"KiB", "MiB", "GiB", "TiB"};
    if (bytes < step)
        return QStringLiteral("%1 B").arg(bytes);

    double value = bytes / step;
    int unit = 0;
    for (; value >= step && unit < 3; ++unit)
        value /= step;
    return QStringLiteral("%1 %2").arg(value, 0, 'f', 1).arg(QLatin1String(units[unit]));
}

QString Visible(const QString& text)
{
    QString result;
    for (const QChar c : text) {
        if (c.category() == QChar::Other_Control || c.category() == QChar::Other_Format ||
            c.category() == QChar::Separator_Line || c.category() == QChar::Separator_Paragraph)
            result += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
        else
            result += c;
    }
    return result;
}

QString WithoutPassword(QString message, const QUrl& url)
{
    if (!url.password().isEmpty())
        message.replace(url.toString(), url.toDisplayString());
    return message;
}

QString VersionText()
{
    return QStringLiteral("qvtool " QVTOOL_VERSION);
}

bool PrintBytes(FILE* stream, const QByteArray& bytes)
{
    const auto size = static_cast<size_t>(bytes.size());
    return fwrite(bytes.constData(), 1, size, stream) == size && fflush(stream) == 0;
}

bool Print(FILE* stream, const QString& text)
{
    return PrintBytes(stream, text.toUtf8());
}

bool PrintLine(FILE* stream, const QString& text)
{
    return Print(stream, text + QLatin1Char('\n'));
}

} // namespace qvtool
