#include "communicator.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace example {

namespace {

using aurelo::qtx::stats::partial;

/// One integer, and doubles from `weight` to the end of the record.
MPI_Datatype make_partial_type() {
    constexpr std::size_t doubles_begin = offsetof(partial, weight);
    constexpr int n_doubles = (sizeof(partial) - doubles_begin) / sizeof(double);
    static_assert(offsetof(partial, count) == 0 && doubles_begin == sizeof(std::int64_t));
    static_assert(sizeof(partial) == doubles_begin + 13 * sizeof(double), "the record has other members now");
    const int lengths[] = {1, n_doubles};
    const MPI_Aint offsets[] = {0, doubles_begin};
    const MPI_Datatype types[] = {MPI_INT64_T, MPI_DOUBLE};
    MPI_Datatype made = MPI_DATATYPE_NULL;
    MPI_Type_create_struct(2, lengths, offsets, types, &made);
    MPI_Type_commit(&made);
    return made;
}

} // namespace

extern "C" {
/// MPI calls it with the ranks' records in the order of the ranks, lower ones first.
static void merge_records(void* lower, void* higher, int* count, MPI_Datatype*) {
    auto* const first = static_cast<const partial*>(lower);
    auto* const result = static_cast<partial*>(higher);
    std::transform(first, first + *count, result, result, aurelo::qtx::stats::merge);
}
}

communicator::communicator(int* argc, char*** argv) {
    // Commands of the SYCL run-time have threads of their own; MPI is called by this one alone.
    int provided = 0;
    MPI_Init_thread(argc, argv, MPI_THREAD_FUNNELED, &provided);
    MPI_Comm_rank(MPI_COMM_WORLD, &rank_);
    MPI_Comm_size(MPI_COMM_WORLD, &size_);
    partial_type_ = make_partial_type();
    constexpr int sides_can_change = 1;
    MPI_Op_create(merge_records, sides_can_change, &merge_);
}

communicator::~communicator() {
    MPI_Op_free(&merge_);
    MPI_Type_free(&partial_type_);
    MPI_Finalize();
}

std::vector<partial> communicator::merge_on_first(const std::vector<partial>& own) const {
    std::vector<partial> whole(own.size());
    MPI_Reduce(own.data(), whole.data(), static_cast<int>(own.size()), partial_type_, merge_, 0,
               MPI_COMM_WORLD);
    return whole;
}

void communicator::give_up(int exit_code) {
    MPI_Abort(MPI_COMM_WORLD, exit_code);
    std::abort();
}

} // namespace example
