#include "merged.hpp"

#include <algorithm>

namespace aurelo::qtx::describe {

namespace {

/// Dimension by dimension.
void merge_all(std::vector<stats::partial>& into, const std::vector<stats::partial>& from) {
    std::transform(into.begin(), into.end(), from.begin(), into.begin(), stats::merge);
}

double value_of(const estimate& wanted, const stats::partial_estimates& all) {
    switch (wanted.call) {
    case call_name::min:
        return all.min;
    case call_name::max:
        return all.max;
    case call_name::min_max:
        return wanted.output == 0 ? all.min : all.max;
    case call_name::mean:
        return all.mean;
    case call_name::raw_sum:
        return all.raw_sum[wanted.output];
    case call_name::raw_moment:
        return all.raw_moment[wanted.output];
    case call_name::central_sum:
        return all.central_sum[wanted.output];
    case call_name::central_moment:
        return all.central_moment[wanted.output];
    case call_name::variation:
        return all.variation;
    case call_name::skewness:
        return all.skewness;
    case call_name::kurtosis:
        break;
    }
    return all.kurtosis;
}

} // namespace

void chunk_merger::add(std::vector<stats::partial> chunk) {
    ++n_chunks_;
    for (auto& level : levels_) {
        if (!level) {
            level = std::move(chunk);
            return;
        }
        merge_all(chunk, *level);
        level.reset();
    }
    levels_.emplace_back(std::move(chunk));
}

std::vector<stats::partial> chunk_merger::total() const {
    std::vector<stats::partial> sum;
    for (const auto& level : levels_) {
        if (!level) {
            continue;
        }
        sum.resize(level->size());
        merge_all(sum, *level);
    }
    return sum;
}

template <typename T>
std::vector<computed<T>> computed_of(const std::vector<stats::partial>& total,
                                     const estimate_selection& selection, const std::vector<T>& mean) {
    std::vector<computed<T>> results;
    for (const estimate* wanted : selection) {
        computed<T> result{wanted, {}};
        const bool about_mean = wanted->takes_mean && !mean.empty();
        for (std::size_t d = 0; d < total.size(); ++d) {
            const auto all = about_mean ? stats::extract(total[d], mean[d]) : stats::extract(total[d]);
            result.values.push_back(static_cast<T>(value_of(*wanted, all)));
        }
        results.push_back(std::move(result));
    }
    return results;
}

template std::vector<computed<float>> computed_of(const std::vector<stats::partial>&,
                                                  const estimate_selection&, const std::vector<float>&);
template std::vector<computed<double>> computed_of(const std::vector<stats::partial>&,
                                                   const estimate_selection&, const std::vector<double>&);

} // namespace aurelo::qtx::describe
