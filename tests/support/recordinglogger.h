#pragma once

#include <common/logger/logger.h>

#include <QRegularExpression>
#include <QStringList>

#include <functional>
#include <mutex>
#include <utility>

/** Keeps every message; the current logger for as long as it lives. */
class RecordingLogger : public common::logger::Logger
{
public:
    RecordingLogger() : previous_(common::logger::SetLogger(this)) {}
    ~RecordingLogger() override { common::logger::SetLogger(previous_); }

    void Append(const common::logger::IMessage& message) override
    {
        static const QRegularExpression identity("^\\[\\d+(, \\d+)?\\]: ");
        const QString line = QString("%1 %2 %3: ")
                                 .arg(QString::number(message.Level()), message.Category()->name,
                                      message.Function()) +
                             QString(message.Text()).remove(identity);
        std::unique_lock lock(mutex_);
        lines_ << line;
        file_ = message.File();
        lock.unlock();
        if (listener_)
            listener_(line);
    }

    /** Calls the listener with each line, on the thread that logs: a test can act amid a job. */
    void SetListener(std::function<void(const QString& line)> listener)
    {
        listener_ = std::move(listener);
    }

    /**
     * The messages so far that contain the text, as "priority category function: text", without the
     * numbers in brackets that tell objects apart.
     */
    QStringList Lines(const QString& part = {}) const
    {
        const std::lock_guard lock(mutex_);
        return lines_.filter(part);
    }

    /** The source file that logged last. */
    QString File() const
    {
        const std::lock_guard lock(mutex_);
        return file_;
    }

private:
    common::logger::ILogger* previous_;
    std::function<void(const QString&)> listener_;
    mutable std::mutex mutex_; // which the thread sanitizer sees, unlike Qt's
    QStringList lines_;
    QString file_;
};
