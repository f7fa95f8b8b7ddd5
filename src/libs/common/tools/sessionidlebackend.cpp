#include "common/tools/sessionidlebackend_p.h"

#include "common/logger/log.h"

#include <QFile>
#include <QFileInfo>
#include <QLibrary>

#include <dlfcn.h>

namespace common {

namespace {

constexpr logger::ICategory logCategory{"common.idle"};
constexpr char logSource[] = "src/libs/common/tools/sessionidlebackend";

// The module lies beside this library, wherever that is.
CreateIdleSource LoadModule()
{
    const QString moduleName = QStringLiteral(QVCOMMON_IDLE_MODULE); // empty: built without
    Dl_info self{};
    if (moduleName.isEmpty() || !dladdr(&logCategory, &self))
        return nullptr;
    const QFileInfo library(QFile::decodeName(self.dli_fname));
    QLibrary module(library.absolutePath() + QLatin1Char('/') + moduleName);
    const auto create = reinterpret_cast<CreateIdleSource>(module.resolve("qvcommonIdleSource"));
    if (!create)
        QVLOG(WARN) << "Cannot watch a Wayland session: " << module.errorString();
    return create;
}

IdleSource* NewSource(int index)
{
    static const CreateIdleSource create = LoadModule();
    return create ? create(index) : nullptr;
}

} // namespace

bool SessionIdleBackend::IsWanted()
{
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           qgetenv("XDG_SESSION_TYPE") == "wayland";
}

SessionIdleBackend::SessionIdleBackend() : source_(NewSource(index_))
{
    SkipAbsent();
}

SessionIdleBackend::~SessionIdleBackend() = default;

int SessionIdleBackend::getSeconds() const
{
    SkipAbsent();
    if (!source_)
        return xcb_->isAvailable() ? xcb_->getSeconds() : IdleSource::unknown;
    return source_->Seconds();
}

const char* SessionIdleBackend::Name() const
{
    return source_ ? source_->Name() : "X11";
}

// Asks the one that is left.
void SessionIdleBackend::SkipAbsent() const
{
    while (source_) {
        source_->Ask();
        if (!source_->IsAbsent())
            return;
        source_.reset(NewSource(++index_));
    }
    if (!xcb_)
        xcb_ = std::make_unique<XcbIdleBackend>();
}

} // namespace common
