#pragma once

#include "common/shell/descriptor_p.h"

#include <QByteArray>

namespace common {

/**
 * A new file that nobody sees before it is complete: it has no name until then, or, where the file
 * system has no nameless files, a temporary one. A name that is taken is replaced in one step.
 *
 * The temporary name belongs to the final one. It is locked while somebody works with it, and who
 * finds it without a lock (after a crash) removes it.
 */
class NewFile
{
public:
    enum Publication { New, Replacement };

    /** For a name in an open directory, both of which stay there. */
    NewFile(int directory, const char* name) : directory_(directory), name_(name) {}
    ~NewFile();

    /** Whether it can be written now, by the descriptor. Otherwise errno tells why. */
    bool Open();
    int Number() const { return descriptor_.Number(); }

    /** Gives it its name. As a new one, that must not exist yet. */
    bool Publish(Publication publication);

    /** Makes a symbolic link in the same way. */
    bool PublishLink(const char* target, Publication publication);

private:
    Q_DISABLE_COPY(NewFile)

    bool OpenWithName();
    bool Link(const char* name);
    bool Rename(unsigned int flags);
    void NameTemporarily();
    bool ClearTemporary() const;

    int directory_;
    const char* name_;
    QByteArray temporary_; // empty while nothing has that name
    Descriptor descriptor_;
};

} // namespace common
