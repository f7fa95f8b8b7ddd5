#pragma once

#include "common/tools/idlesource_p.h"

#include <QElapsedTimer>
#include <QObject>

namespace common {

/** What the sources have in common: an answer is good for a while, and then unknown. */
class AskedSource : public QObject, public IdleSource
{
    Q_OBJECT

public:
    bool IsAbsent() const final { return isAbsent_; }
    int Seconds() const final;

protected:
    static constexpr int patience = 5000; // milliseconds for an answer; a watcher asks every 3000

    AskedSource();

    /** Milliseconds since the last input, as far as the latest answer tells. */
    virtual qint64 Milliseconds() const = 0;

    /** There is an answer; how old it is counts from now. */
    void Answered();
    /** There will be none. One that has never answered is absent. */
    void Failed();
    qint64 AgeOfAnswer() const { return clock_.elapsed(); }

private:
    void TellOnce() const;

    QElapsedTimer clock_; // since the latest answer, or the start
    bool isKnown_ = false;
    bool hasAnswered_ = false;
    bool isAbsent_ = false;
};

} // namespace common
