#include "BrindleRecorderLinux/Language/GettextLanguage.hpp"

#include <libintl.h>

#include <system_error>

namespace brindle {

namespace {

constexpr const char* domain = "brindle-recorder";
constexpr char endOfContext = '\004'; ///< as the tools of gettext put them together

/// This thread's locale for as long as a sentence is looked up.
class LocaleForNow {
  public:
    explicit LocaleForNow(locale_t locale) : before_{uselocale(locale)} {}
    ~LocaleForNow() { uselocale(before_); }
    LocaleForNow(const LocaleForNow&) = delete;
    LocaleForNow& operator=(const LocaleForNow&) = delete;

  private:
    locale_t before_;
};

} // namespace

GettextLanguage::GettextLanguage(const std::filesystem::path& catalogues)
    : locale_{newlocale(LC_MESSAGES_MASK, "", locale_t{})} {
    bindtextdomain(domain, catalogues.c_str());
    bind_textdomain_codeset(domain, "UTF-8");
}

GettextLanguage::~GettextLanguage() {
    if (locale_ != nullptr) {
        freelocale(locale_);
    }
}

std::filesystem::path GettextLanguage::catalogues(const std::filesystem::path& fromProgram) {
    std::error_code error;
    const auto own = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const auto beside = own / "catalogues";
    return std::filesystem::is_directory(beside, error) ? beside
                                                        : (own / fromProgram).lexically_normal();
}

std::string GettextLanguage::translated(const char* context, const char* english) const {
    if (locale_ == nullptr) {
        return english;
    }
    const LocaleForNow now{locale_};
    const std::string plain{context};
    if (plain.empty()) {
        return dgettext(domain, english);
    }
    const std::string key = plain + endOfContext + english;
    const char* const found = dgettext(domain, key.c_str());
    return found == key.c_str() ? english : found;
}

std::string
GettextLanguage::translated(const char* one, const char* several, std::uint64_t count) const {
    if (locale_ == nullptr) {
        return count == 1 ? one : several;
    }
    const LocaleForNow now{locale_};
    return dngettext(domain, one, several, count);
}

} // namespace brindle
