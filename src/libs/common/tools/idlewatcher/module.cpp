#ifdef QVCOMMON_WITH_MUTTER
#include "common/tools/idlewatcher/mutteridle_p.h"
#endif
#ifdef QVCOMMON_WITH_WAYLAND
#include "common/tools/idlewatcher/waylandidle_p.h"
#endif

extern "C" Q_DECL_EXPORT common::IdleSource* qvcommonIdleSource(int index)
{
#ifdef QVCOMMON_WITH_WAYLAND
    if (index-- == 0)
        return new common::WaylandIdle;
#endif
#ifdef QVCOMMON_WITH_MUTTER
    if (index-- == 0)
        return new common::MutterIdle;
#endif
    return nullptr;
}
