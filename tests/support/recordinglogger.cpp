#include "support/recordinglogger.h"

#include <QRegularExpression>

RecordingLogger::RecordingLogger() : previous_(common::logger::SetLogger(this))
{
}

RecordingLogger::~RecordingLogger()
{
    common::logger::SetLogger(previous_);
}

void RecordingLogger::Append(const common::logger::IMessage& message)
{
    static const QRegularExpression identity(QStringLiteral("^\\[\\d+(, \\d+)?\\]: "));
    const QMutexLocker lock(&mutex_);
    lines_ << QStringLiteral("%1 %2 %3: %4")
                  .arg(QString::number(message.Level()), QLatin1String(message.Category()->name),
                       QLatin1String(message.Function()), QString(message.Text()).remove(identity));
    files_ << QLatin1String(message.File());
}

QStringList RecordingLogger::Lines() const
{
    const QMutexLocker lock(&mutex_);
    return lines_;
}

QStringList RecordingLogger::Lines(const QString& part) const
{
    return Lines().filter(part);
}

QStringList RecordingLogger::Files() const
{
    const QMutexLocker lock(&mutex_);
    QStringList files = files_;
    files.removeDuplicates();
    return files;
}
