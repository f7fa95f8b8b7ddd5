#pragma once

#include <common/logger/logger.h>

#include <QMutex>
#include <QStringList>

/** Keeps every message; the current logger for as long as it lives. */
class RecordingLogger : public common::logger::Logger
{
public:
    RecordingLogger();
    ~RecordingLogger() override;

    void Append(const common::logger::IMessage& message) override;

    /**
     * The messages so far as "priority category function: text", without the numbers in brackets
     * that tell objects apart.
     */
    QStringList Lines() const;
    /** Those of them that contain the text. */
    QStringList Lines(const QString& part) const;
    /** The source files that logged, each once. */
    QStringList Files() const;

private:
    common::logger::ILogger* previous_;
    mutable QMutex mutex_;
    QStringList lines_;
    QStringList files_;
};
