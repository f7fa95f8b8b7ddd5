#pragma once

#include <QProcess>

/** What a program wrote to standard output when given that input; fatal if it fails. */
inline QByteArray OutputOf(const QString& program, const QStringList& arguments,
                           const QByteArray& input = {})
{
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished() || process.exitCode() != 0)
        qFatal("%s failed", qPrintable(program));
    return process.readAllStandardOutput();
}
