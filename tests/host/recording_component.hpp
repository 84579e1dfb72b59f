#pragma once

#include <cstdint>
#include <string>
#include <vector>

/**
 * A component in the place of the real one: it records the calls that the library makes, word by word, and
 * fails where a test wants it to. An executable that links it takes the library's imports over.
 */
namespace test::component {

/// The calls so far: "new 2x3 65536 weights -", "edit 17 p", "moments pp--p--", "compute 2048 1", "delete". A
/// 'p' stands for an array, a '-' for null.
std::vector<std::string> take_calls();

/// The call whose record begins with \p word answers with \p status, once.
void fail_at(const std::string& word, std::int32_t status);

/// Tasks made and not yet deleted.
int live_tasks();

} // namespace test::component
