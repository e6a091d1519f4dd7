// The language in which people are spoken to, and how everything that they read is said in it.
#pragma once

#include <cstdint>
#include <fmt/format.h>
#include <string>

namespace brindle {

/// Knows sentences of this program, which is written in English, in one language. The sentences are
/// found in the sources by the names of the functions that say them (scripts/translations), so each
/// stands there as a literal. What is inserted has a name, so that a translation can put it
/// elsewhere: `say("{program} is using the camera.", fmt::arg("program", name))`.
class Language {
  public:
    virtual ~Language() = default;

    /// The sentence in this language, with the values in it.
    template <class... Named>
    [[nodiscard]] std::string say(const char* english, const Named&... values) const {
        return filled(translated("", english), english, fmt::make_format_args(values...));
    }
    /// The same for what is one word in English and several elsewhere: the context says which.
    template <class... Named>
    [[nodiscard]] std::string
    sayOf(const char* context, const char* english, const Named&... values) const {
        return filled(translated(context, english), english, fmt::make_format_args(values...));
    }
    /// The same for what depends on a number, which is inserted as "{count}".
    [[nodiscard]] std::string
    sayCount(const char* one, const char* several, std::uint64_t count) const;

    /// What is kept in files or read by programs is said in this: every sentence as it is.
    static const Language& english();
    /// What people read is said in this. English, until the program says otherwise.
    static const Language& ofTheUser();
    /// Nothing may be said before or meanwhile by another thread, and the language stays for good.
    static void useForTheUser(const Language& language);

  protected:
    /// The sentence as it is where it is not known. The context may be empty. Any thread.
    [[nodiscard]] virtual std::string
    translated(const char* context, const char* english) const = 0;
    [[nodiscard]] virtual std::string
    translated(const char* one, const char* several, std::uint64_t count) const = 0;

  private:
    /// In English where a translation inserts what is not there.
    static std::string
    filled(const std::string& pattern, const char* english, fmt::format_args values);
};

/// A sentence in the user's language.
template <class... Named>
std::string say(const char* english, const Named&... values) {
    return Language::ofTheUser().say(english, values...);
}

/// What is one word in English and several elsewhere, likewise.
template <class... Named>
std::string sayOf(const char* context, const char* english, const Named&... values) {
    return Language::ofTheUser().sayOf(context, english, values...);
}

/// Marks a sentence that is said elsewhere.
consteval const char* sentence(const char* english) {
    return english;
}

} // namespace brindle
