#include "common/shell/copysource_p.h"

#include <QFileInfo>

#include <cerrno>

#include <fcntl.h>

namespace common {

namespace {

constexpr mode_t allPermissions = 0777; // without those bits that make a program somebody else's

} // namespace

Place GivenPlaces::At(const QString& path)
{
    const QByteArray bytes = QFile::encodeName(path);
    const int slash = bytes.lastIndexOf('/');
    const QByteArray directory = slash < 0 ? "." : slash == 0 ? "/" : bytes.left(slash);
    const bool isInPlace = IsInPlace();
    haveMoved_ = haveMoved_ || !isInPlace;
    if (!directories_ || directories_->Root() != directory || !isInPlace)
        directories_.emplace(tree_, directory, rule_);
    name_ = bytes.mid(slash + 1);
    if (name_.isEmpty() && !bytes.isEmpty())
        name_ = "."; // "directory/"
    return {&*directories_, Tree::root, name_.constData()};
}

bool GivenPlaces::IsInPlace()
{
    return !directories_ || !directories_->Seen(Tree::root).IsKnown() ||
           directories_->IsInPlace(Tree::root);
}

CopySource::CopySource(Kind kind, const Place& place, const QString& path)
    : kind_(kind), place_(place), file_(kind == OfQt ? path : QString())
{
}

CopySource::State CopySource::Open()
{
    if (kind_ == OfQt)
        return OpenByQt();
    if (kind_ == Special)
        return Unfit;
    const State looked = kind_ == Given ? LookAtGiven() : Ready;
    return looked == Ready ? OpenFound() : looked;
}

CopySource::State CopySource::OpenByQt()
{
    const QFileInfo info(file_.fileName());
    if (!info.exists())
        return Missing;
    if (!info.isFile())
        return Unfit;
    return file_.open(QIODevice::ReadOnly | QIODevice::Unbuffered) ? Ready : Failed;
}

CopySource::State CopySource::LookAtGiven()
{
    const int directory = place_.OpenDirectory();
    if (directory < 0 && (errno == EMFILE || errno == ENFILE || errno == ENOMEM))
        return Failed;
    if (directory < 0 || fstatat(directory, place_.name, &status_, AT_SYMLINK_NOFOLLOW) != 0)
        return Missing;
    if (S_ISLNK(status_.st_mode) && fstatat(directory, place_.name, &status_, 0) != 0)
        return Unfit;
    return S_ISREG(status_.st_mode) ? Ready : Unfit;
}

CopySource::State CopySource::OpenFound()
{
    const int directory = place_.OpenDirectory();
    const int links = kind_ == Found ? O_NOFOLLOW : 0;
    if (directory >= 0)
        descriptor_ = Descriptor(
            openat(directory, place_.name, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | links));
    if (!descriptor_ && errno == ENOENT)
        return Missing;
    if (!descriptor_) {
        fstatat(directory, place_.name, &status_, kind_ == Found ? AT_SYMLINK_NOFOLLOW : 0);
        return Failed;
    }
    if (fstat(descriptor_.Number(), &status_) != 0 || !S_ISREG(status_.st_mode)) {
        Close();
        return Unfit;
    }
    return Ready;
}

void CopySource::Close()
{
    descriptor_.Close();
    file_.close();
}

bool CopySource::CopyTo(int descriptor, Content& content)
{
    if (kind_ != OfQt)
        return content.Copy(descriptor_.Number(), status_, descriptor);
    return content.Copy([this](char* data, qint64 size) { return file_.read(data, size); },
                        descriptor);
}

mode_t CopySource::Permissions() const
{
    if (kind_ != OfQt)
        return status_.st_mode & allPermissions;
    const auto qt = mode_t(file_.permissions()); // a hexadecimal digit for each class of users
    return ((qt >> 6) & 0700) | ((qt >> 1) & 070) | (qt & 07);
}

bool CopySource::IsSame(const Place& other) const
{
    struct stat status = {};
    return kind_ != OfQt && fstatat(other.OpenDirectory(), other.name, &status, 0) == 0 &&
           Identity(status) == Identity(status_);
}

} // namespace common
