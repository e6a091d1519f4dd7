#include "Support/TemporaryFolder.hpp"

#include <cstdlib>
#include <string>

namespace brindle::test {

TemporaryFolder::TemporaryFolder() {
    const auto parent = std::filesystem::canonical(std::filesystem::temp_directory_path());
    std::string name = parent / "brindle-test-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) {
        std::abort();
    }
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

} // namespace brindle::test
