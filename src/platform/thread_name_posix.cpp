#include "platform/thread_name.h"

#include <pthread.h>

namespace tavu {

void nameThisThread(const char *name)
{
    ::pthread_setname_np(::pthread_self(), name);
}

} // namespace tavu
