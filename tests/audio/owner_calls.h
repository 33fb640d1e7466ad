// fchmod and fchown of the test binary: the real ones, unless a test wants them to fail.
#pragma once

struct OwnerCalls {
    bool fchmod_fails;
    bool fchown_fails;
};

extern OwnerCalls owner_calls;
