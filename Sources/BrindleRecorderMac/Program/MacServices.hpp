// What the program needs of macOS beside its user interface.
#pragma once

#include "BrindleRecorderApp/AppEnvironment.hpp"

#include <filesystem>
#include <memory>

namespace brindle {

/// Main thread only.
class MacServices {
  public:
    MacServices();
    /// Writes what the log still holds.
    ~MacServices();
    MacServices(const MacServices&) = delete;
    MacServices& operator=(const MacServices&) = delete;

    /// These services together with one that depends on the user interface.
    [[nodiscard]] AppEnvironment environment(Workspace& workspace);

    /// For what is no preference and no recording; made where it is missing.
    [[nodiscard]] static std::filesystem::path supportFolder();

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace brindle
