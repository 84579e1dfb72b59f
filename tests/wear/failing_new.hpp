#pragma once

namespace test {

/// While it lives, `operator new` of this thread fails after \p sound allocations: once, or (\p lasting) ever after.
class failing_new {
public:
    failing_new(int sound, bool lasting);
    ~failing_new();
    failing_new(const failing_new&) = delete;
    failing_new& operator=(const failing_new&) = delete;

    /// Whether an allocation has failed.
    bool reached() const;
};

} // namespace test
