#include "jobpage.h"

#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>

namespace {

constexpr int barSteps = 1000;
constexpr qint64 shortestForRate = 100; // milliseconds; a rate over less time says nothing

QString Size(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes, 1);
}

} // namespace

QString Job::FreePath(const QString& folder, const QString& name) const
{
    const QDir directory(folder.isEmpty() ? directory_.path() : folder);
    QString path = directory.filePath(name);
    for (int number = 2; QFileInfo::exists(path); ++number)
        path = directory.filePath(QString("%1 %2").arg(number).arg(name));
    return path;
}

JobPage::JobPage(const QString& title, const QString& description, Job* job)
    : Page(title, description),
      job_(job),
      start_(new QPushButton),
      stop_(new QPushButton("&Stop")),
      bar_(new QProgressBar),
      state_(new QLabel("Ready."))
{
    job_->moveToThread(&thread_);
    connect(&thread_, &QThread::finished, job_, &QObject::deleteLater);
    connect(job_, &Job::progress, this, &JobPage::ShowProgress);
    connect(job_, &Job::ended, this, &JobPage::ShowEnd);
    thread_.start();
}

JobPage::~JobPage()
{
    thread_.quit();
    thread_.wait();
}

void JobPage::AddJob(QLineEdit* source, QLineEdit* folder, const QString& action, QWidget* option)
{
    source_ = source;
    folder_ = folder;
    start_->setText(action);
    stop_->setEnabled(false);
    bar_->setRange(0, barSteps);
    bar_->setValue(0);
    bar_->setAccessibleName("Progress");
    state_->setWordWrap(true);
    state_->setTextFormat(Qt::PlainText);
    state_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    connect(start_, &QPushButton::clicked, this, &JobPage::Start);
    connect(stop_, &QPushButton::clicked, job_, &Job::Stop);
    for (QLineEdit* field : {source_, folder_})
        connect(field, &QLineEdit::returnPressed, start_, &QPushButton::click);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(start_);
    buttons->addWidget(stop_);
    if (option)
        buttons->addWidget(option);
    buttons->addStretch();
    Content()->addLayout(buttons);
    Content()->addWidget(bar_);
    Content()->addWidget(state_);
    QPlainTextEdit* events = AddLines("&Events");
    for (const auto signal : {&Job::began, &Job::ended})
        connect(job_, signal, events, [events](const QString& text) { AddEvent(events, text); });
}

void JobPage::Start()
{
    stop_->setEnabled(true); // first, to get the focus of the other
    start_->setEnabled(false);
    last_ = 0;
    clock_.start();
    QMetaObject::invokeMethod(job_,
                              [job = job_, source = source_->text().trimmed(),
                               folder = folder_->text().trimmed()] { job->Start(source, folder); });
}

void JobPage::ShowProgress(const QString& what, qint64 done, qint64 total)
{
    if (done < last_) // a further try, or a further part of the job
        clock_.start();
    last_ = done;
    bar_->setMaximum(total < 0 ? 0 : barSteps); // 0 to 0: something is going on
    bar_->setValue(total > 0 ? int(double(done) / double(total) * barSteps) : 0);
    state_->setText(what + ": " + Pace(done, total));
}

QString JobPage::Pace(qint64 done, qint64 total) const
{
    QString text = Size(done);
    if (total >= 0)
        text += " of " + Size(total);
    const qint64 perSecond = done * 1000 / qMax<qint64>(clock_.elapsed(), 1);
    if (clock_.elapsed() < shortestForRate || perSecond == 0)
        return text;
    text += QString(", %1/s").arg(Size(perSecond));
    if (done < total)
        text += QString(", %1 s left").arg((total - done) / perSecond + 1);
    return text;
}

void JobPage::ShowEnd()
{
    bar_->setMaximum(barSteps);
    state_->setText("Ready.");
    start_->setEnabled(true);
    if (stop_->hasFocus())
        start_->setFocus();
    stop_->setEnabled(false);
}
