#pragma once

#include "page.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>

class QProgressBar;
class QPushButton;

/** Work on a thread of its own, on which it also lives: the window never waits for it. */
class Job : public QObject
{
    Q_OBJECT

public:
    /**
     * Begins. An empty @p source means the built-in sample, an empty @p folder a temporary one that
     * goes when the window is closed.
     */
    virtual void Start(const QString& source, const QString& folder) = 0;
    virtual void Stop() = 0;

Q_SIGNALS:
    /** At the start, what is done and where. */
    void began(const QString& what);
    /** So many bytes of a total, which is negative while it is not known. */
    void progress(const QString& what, qint64 done, qint64 total);
    /** Once for each start. */
    void ended(const QString& result);

protected:
    QString TemporaryPath(const QString& name) const { return directory_.filePath(name); }
    /** A path in @p folder where nothing lies yet. */
    QString FreePath(const QString& folder, const QString& name) const;

private:
    QTemporaryDir directory_;
};

/** A page with a job: where from, where to, how far it is and what came of it. */
class JobPage : public Page
{
    Q_OBJECT

public:
    /** @param job becomes the page's */
    JobPage(const QString& title, const QString& description, Job* job);
    ~JobPage() override;

    /** Adds the buttons and all else that belongs to a job. */
    void AddJob(QLineEdit* source, QLineEdit* folder, const QString& action,
                QWidget* option = nullptr);

    void Rehearse() override { Start(); }
    int RehearsalTime() const override { return 2000; }

private:
    void Start();
    void ShowProgress(const QString& what, qint64 done, qint64 total);
    void ShowEnd();
    QString Pace(qint64 done, qint64 total) const;

    Job* job_;
    QThread thread_;
    QElapsedTimer clock_;
    qint64 last_ = 0;

    QLineEdit* source_ = nullptr;
    QLineEdit* folder_ = nullptr;
    QPushButton* start_;
    QPushButton* stop_;
    QProgressBar* bar_;
    QLabel* state_;
};
