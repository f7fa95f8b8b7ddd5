#include "input.h"

#include <QSocketNotifier>

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
        if (size <= 0) {
            notifier->setEnabled(false);
            Q_EMIT ended(all_);
            return;
        }
        all_.append(chunk.constData(), static_cast<int>(size));
        if (all_.contains('\n'))
            Q_EMIT line(all_);
    });
}

} // namespace qvtool
