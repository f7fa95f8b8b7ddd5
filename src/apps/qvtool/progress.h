#pragma once

#include <QElapsedTimer>
#include <QString>

#include <cstdio>

namespace qvtool {

/**
 * Shows the progress of work with its rate and the time left: a bar that is redrawn on a terminal,
 * a plain line a second elsewhere.
 */
class Progress
{
public:
    enum Unit { Bytes, Items };

    /** @param indent put in front of every line */
    Progress(FILE* stream, Unit unit, const QString& indent = QString());

    /** The work begins now. */
    void Start();
    /** So much is done, of a total that may be unknown (negative). Less than before: a new try. */
    void Update(qint64 done, qint64 total);
    /** Shows the last state and ends the bar's line, if there is one. */
    void Finish();

    /** Erases the bar that is on the terminal, if there is one, for a line to take its place. */
    static void EraseBar();

private:
    void Draw();
    QString Bar() const;
    QString Amount(qint64 amount) const;
    QString Pace() const;

    FILE* stream_;
    Unit unit_;
    QString indent_;
    bool onTerminal_;
    QElapsedTimer sinceStart_;
    qint64 elapsed_ = 0; // at the last update, in milliseconds
    QElapsedTimer sinceDrawn_;
    qint64 done_ = 0;
    qint64 total_ = -1;
    bool stale_ = false;
};

} // namespace qvtool
