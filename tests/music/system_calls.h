// Calls of the test binary that a test may want to fail; else they are the real ones.
#pragma once

struct SystemCalls {
    bool chmod_fails;
    bool chown_fails;
    bool seek_fails;
    bool tell_fails;
    int last_uid;  // of the last chown, failed or not
    int last_gid;
};

extern SystemCalls system_calls;
