#include "input.h"

#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#include <cerrno>
#include <utility>

#include <unistd.h>

namespace qvtool {

namespace {

constexpr int chunkSize = 64 * 1024;
constexpr int mostKept = 1024 * 1024 * 1024;

} // namespace

Input::Input(QObject* parent)
    : QObject(parent), notifier_(new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this))
{
    connect(notifier_, &QSocketNotifier::activated, this, &Input::Read);
}

void Input::Read()
{
    QByteArray chunk(chunkSize, Qt::Uninitialized);
    const auto size = read(STDIN_FILENO, chunk.data(), static_cast<size_t>(chunk.size()));
    if (size < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (size < 0)
        return Fail(qt_error_string(errno));
    if (size == 0) {
        notifier_->setEnabled(false);
        Q_EMIT ended();
        return;
    }
    if (kept_.size() > mostKept - chunkSize)
        return Fail(QStringLiteral("it is too large"));
    kept_.append(chunk.constData(), static_cast<int>(size));
    Q_EMIT arrived();
}

void Input::Fail(const QString& reason)
{
    notifier_->setEnabled(false);
    Q_EMIT failed(reason);
}

bool Input::TakeLine(QByteArray& line)
{
    const int end = kept_.indexOf('\n', searched_);
    searched_ = end < 0 ? kept_.size() : 0;
    if (end < 0)
        return false;
    line = WithoutLineEnd(kept_.left(end + 1));
    kept_.remove(0, end + 1);
    return true;
}

QByteArray Input::TakeRest()
{
    searched_ = 0;
    return std::exchange(kept_, QByteArray());
}

QByteArray ReadFile(const QString& path, QString& error)
{
    const QFileInfo info(path);
    QFile file(path);
    QByteArray content;
    if (info.exists() && !info.isFile())
        error = QStringLiteral("cannot read '%1': it is not a regular file").arg(path);
    else if (file.open(QIODevice::ReadOnly))
        content = file.readAll();
    if (error.isEmpty() && file.error() != QFileDevice::NoError)
        error = QStringLiteral("cannot read '%1': %2").arg(path, file.errorString());
    return content;
}

QByteArray WithoutLineEnd(QByteArray text)
{
    if (text.endsWith('\n'))
        text.chop(text.endsWith("\r\n") ? 2 : 1);
    return text;
}

} // namespace qvtool
