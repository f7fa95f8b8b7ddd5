#include "support/recordinglogger.h"

#include <QRegularExpression>

#include <utility>

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
    const QString line =
        QStringLiteral("%1 %2 %3: %4")
            .arg(QString::number(message.Level()), QLatin1String(message.Category()->name),
                 QLatin1String(message.Function()), QString(message.Text()).remove(identity));
    QMutexLocker lock(&mutex_);
    lines_ << line;
    files_ << QLatin1String(message.File());
    lock.unlock();
    if (listener_)
        listener_(line);
}

void RecordingLogger::SetListener(std::function<void(const QString&)> listener)
{
    listener_ = std::move(listener);
}

QStringList RecordingLogger::Lines(const QString& part) const
{
    const QMutexLocker lock(&mutex_);
    return lines_.filter(part);
}

QStringList RecordingLogger::Files() const
{
    const QMutexLocker lock(&mutex_);
    QStringList files = files_;
    files.removeDuplicates();
    return files;
}
