#include "BrindleRecorderCore/Base/Language.hpp"

namespace brindle {

namespace {

class English final : public Language {
  protected:
    [[nodiscard]] std::string
    translated(const char* /*context*/, const char* english) const override {
        return english;
    }
    [[nodiscard]] std::string
    translated(const char* one, const char* several, std::uint64_t count) const override {
        return count == 1 ? one : several;
    }
};

const Language*& languageOfTheUser() {
    static const Language* language = &Language::english();
    return language;
}

} // namespace

std::string Language::sayCount(const char* one, const char* several, std::uint64_t count) const {
    const auto value = fmt::arg("count", count);
    return filled(
        translated(one, several, count), count == 1 ? one : several, fmt::make_format_args(value));
}

std::string
Language::filled(const std::string& pattern, const char* english, fmt::format_args values) {
    try {
        return fmt::vformat(pattern, values);
    } catch (const fmt::format_error&) {
        return fmt::vformat(english, values);
    }
}

const Language& Language::english() {
    static const English language;
    return language;
}

const Language& Language::ofTheUser() {
    return *languageOfTheUser();
}

void Language::useForTheUser(const Language& language) {
    languageOfTheUser() = &language;
}

} // namespace brindle
