// One-time initialisation over pthread_once.
#include <cerrno>

#include <tarvolk/once.h>

extern "C" {

NRC NOneTimeInitialise(pthread_once_t *control, NOnceInitFunc function)
{
    if (control == nullptr || function == nullptr)
        return EINVAL;
    return pthread_once(control, function);
}

NRC NOnceFunc(pthread_once_t *control, NOnceInitFunc function)
{
    if (control != nullptr && function != nullptr)
        pthread_once(control, function);
    return 0;
}

} // extern "C"
