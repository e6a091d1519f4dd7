// What a private session's sound server says of itself, for a test that has waited for it in vain.
#pragma once

#include <filesystem>
#include <string>

namespace brindle {

/// The server's defaults, nodes and links and the daemons' last words, in lines. `session` is the
/// session's folder.
std::string soundServerView(const std::filesystem::path& session);

/// That of the session that the tests run in.
std::string soundServerView();

} // namespace brindle
