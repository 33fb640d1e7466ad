// chmod and chown of the test binary: the real ones, unless a test wants them to fail.
#pragma once

struct OwnerCalls {
    bool chmod_fails;
    bool chown_fails;
    int last_uid;  // of the last chown, failed or not
    int last_gid;
};

extern OwnerCalls owner_calls;
