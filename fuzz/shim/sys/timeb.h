#pragma once
// The C runtime's millisecond clock, for the native fuzz build.
#include <chrono>

struct __timeb64 {
    long long time;
    unsigned short millitm;
    short timezone;
    short dstflag;
};

inline void _ftime64(__timeb64* now) {
    const long long ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    now->time = ms / 1000;
    now->millitm = static_cast<unsigned short>(ms % 1000);
    now->timezone = 0;
    now->dstflag = 0;
}
