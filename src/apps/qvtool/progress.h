#pragma once

#include <QElapsedTimer>
#include <QString>

#include <cstdio>

namespace qvtool {

/**
 * Shows the progress of a transfer: a bar that is redrawn on a terminal, a plain line a second
 * elsewhere.
 */
class Progress
{
public:
    /** @param indent put in front of every line */
    explicit Progress(FILE* stream, const QString& indent = QString());

    /** The transfer begins now. */
    void Start();
    /** Bytes so far, of a total that may be unknown (negative). Fewer than before: a new try. */
    void Update(qint64 bytes, qint64 total);
    /** Shows the last state and ends the bar's line, if there is one. */
    void Finish();

private:
    void Draw();
    QString Bar() const;

    FILE* stream_;
    QString indent_;
    bool onTerminal_;
    QElapsedTimer sinceStart_;
    qint64 elapsed_ = 0; // at the last update, in milliseconds
    QElapsedTimer sinceDrawn_;
    qint64 bytes_ = 0;
    qint64 total_ = -1;
    bool drawn_ = false;
    bool stale_ = false;
};

} // namespace qvtool
