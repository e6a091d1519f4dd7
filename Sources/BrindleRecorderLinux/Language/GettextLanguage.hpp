// The languages of the catalogues in po/, by glibc's gettext.
#pragma once

#include "BrindleRecorderCore/Base/Language.hpp"

#include <clocale>
#include <filesystem>

namespace brindle {

/// Speaks what the environment asks for (LANGUAGE, LC_ALL, LC_MESSAGES, LANG), which is read when
/// it is made; English where there is no catalogue, or where the system has not got that locale.
/// The process itself stays in the locale "C", so that numbers in files and what the system says of
/// errors are the same everywhere.
class GettextLanguage final : public Language {
  public:
    /// `catalogues` holds LANGUAGE/LC_MESSAGES/brindle-recorder.mo.
    explicit GettextLanguage(const std::filesystem::path& catalogues);
    ~GettextLanguage() override;
    GettextLanguage(const GettextLanguage&) = delete;
    GettextLanguage& operator=(const GettextLanguage&) = delete;

    /// The catalogues of this program: beside it, as where it was built, else in the folder of that
    /// path from its own.
    static std::filesystem::path catalogues(const std::filesystem::path& fromProgram);

  protected:
    [[nodiscard]] std::string translated(const char* context, const char* english) const override;
    [[nodiscard]] std::string
    translated(const char* one, const char* several, std::uint64_t count) const override;

  private:
    locale_t locale_; ///< null: the system has not got it
};

} // namespace brindle
