// Takes the place of the system's sleep in a whole program, so that its seconds pass fifty times as fast. A signal cuts
// it short all the same.
#include <time.h>
#include <unistd.h>

unsigned sleep(unsigned seconds)
{
    static constexpr long SECOND = 20000000;  // nanoseconds
    long length = static_cast<long>(seconds) * SECOND;
    timespec time = {length / 1000000000, length % 1000000000}, left = {};
    if (nanosleep(&time, &left) == 0)
        return 0;
    return static_cast<unsigned>((left.tv_sec * 1000000000 + left.tv_nsec) / SECOND);
}
