#pragma once
// Lets a call to the system fail. Add support/FaultPlan.cpp to the sources of a test that uses it: that puts itself
// between the program and the system.
//
//     for (int n = 0; ; ++n) {
//         FaultPlan plan(Call::Write, n, ENOSPC);
//         work();
//         if (!plan.lift()) break;  // fewer than n + 1 writes
//     }

enum class Call { Write, CopyFileRange, Fallocate, Ftruncate, Close, Rename, MakeTemporary, Accept };

class FaultPlan {
public:
    // In place of an error: the call succeeds, but before it SIGTERM comes.
    static constexpr int kInterrupt = -1;

    // Call number `nth`, counted from 0, fails with `error`, and so do all of its kind behind it if `onwards`.
    FaultPlan(Call call, int nth, int error, bool onwards = false);
    ~FaultPlan() { lift(); }
    FaultPlan(const FaultPlan&) = delete;
    FaultPlan& operator=(const FaultPlan&) = delete;

    // Ends the plan. True if a call was made to fail.
    bool lift();
};
