// Preloaded, it stands before the statistics component and fails in its place.
#include <tsb/summary_statistics.h>

int32_t tsbdSSCompute(void*, uint64_t, int32_t) {
    return TSB_SS_NO_MEMORY;
}
