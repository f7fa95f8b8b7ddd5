#include "input.h"

#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#include <cerrno>
#include <unistd.h>

namespace qvtool {

namespace {

constexpr int chunkSize = 64 * 1024;

} // namespace

Input::Input(QObject* parent) : QObject(parent)
{
    auto* notifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        QByteArray chunk(chunkSize, Qt::Uninitialized);
        const auto size = read(STDIN_FILENO, chunk.data(), static_cast<size_t>(chunk.size()));
        if (size < 0 && (errno == EINTR || errno == EAGAIN))
            return;
        if (size <= 0) {
            notifier->setEnabled(false);
            if (size == 0)
                Q_EMIT ended(all_);
            else
                Q_EMIT failed(qt_error_string(errno));
            return;
        }
        all_.append(chunk.constData(), static_cast<int>(size));
        if (all_.contains('\n'))
            Q_EMIT line(all_);
    });
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
        text.chop(1);
    if (text.endsWith('\r'))
        text.chop(1);
    return text;
}

} // namespace qvtool
