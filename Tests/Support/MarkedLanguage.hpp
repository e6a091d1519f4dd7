// A language in which every sentence is the English one in brackets: what stands outside of them
// has bypassed the catalogue.
#pragma once

#include "BrindleRecorderCore/Base/Language.hpp"

#include <string>

namespace brindle::test {

/// The user's language for as long as this is there.
class MarkedLanguage : public Language {
  public:
    MarkedLanguage() { useForTheUser(*this); }
    ~MarkedLanguage() override { useForTheUser(english()); }
    MarkedLanguage(const MarkedLanguage&) = delete;
    MarkedLanguage& operator=(const MarkedLanguage&) = delete;

    /// The text is one sentence of the catalogue from its beginning to its end.
    static bool said(const std::string& text) {
        return text.starts_with(opening) && text.ends_with(closing);
    }
    /// Something of the text is from the catalogue.
    static bool saidInPart(const std::string& text) {
        return text.find(opening) != std::string::npos;
    }

  protected:
    [[nodiscard]] std::string
    translated(const char* /*context*/, const char* english) const override {
        return std::string{opening} + english + closing;
    }
    [[nodiscard]] std::string
    translated(const char* one, const char* several, std::uint64_t count) const override {
        return translated("", count == 1 ? one : several);
    }

  private:
    static constexpr const char* opening = "⟦";
    static constexpr const char* closing = "⟧";
};

} // namespace brindle::test
