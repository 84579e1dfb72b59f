#pragma once

#include <vector>

#include <mpi.h>

#include <stats/partial.hpp>

namespace example {

/// The MPI library, from its start to its end, with a datatype for stats::partial and an operator that merges.
class communicator {
public:
    communicator(int* argc, char*** argv);
    communicator(const communicator&) = delete;
    communicator& operator=(const communicator&) = delete;
    ~communicator();

    int rank() const { return rank_; }
    int size() const { return size_; }

    /// Merges all ranks' records, dimension by dimension, in one reduction; the result is rank 0's, others get
    /// records that mean nothing. All ranks call it, with equally many records.
    std::vector<aurelo::qtx::stats::partial>
    merge_on_first(const std::vector<aurelo::qtx::stats::partial>& own) const;

    /// Ends all ranks of the program.
    [[noreturn]] static void give_up(int exit_code);

private:
    int rank_ = 0;
    int size_ = 0;
    MPI_Datatype partial_type_ = MPI_DATATYPE_NULL;
    MPI_Op merge_ = MPI_OP_NULL;
};

} // namespace example
