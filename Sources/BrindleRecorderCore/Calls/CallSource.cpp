#include "BrindleRecorderCore/Calls/CallSource.hpp"

#include "BrindleRecorderCore/Base/HashCombine.hpp"

namespace brindle {

CallSource CallSource::manual() {
    return CallSource{
        .app = "Manual",
        .bundleID = "",
        .kind = Kind::manual,
        .site = std::nullopt,
        .familyID = "manual",
    };
}

std::string_view CallSource::rawValue(Kind kind) {
    switch (kind) {
    case Kind::app:
        return "app";
    case Kind::browser:
        return "browser";
    case Kind::manual:
        return "manual";
    case Kind::other:
        return "other";
    }
    return {};
}

std::optional<CallSource::Kind> CallSource::kindFromRawValue(std::string_view rawValue) {
    for (const Kind kind : {Kind::app, Kind::browser, Kind::manual, Kind::other}) {
        if (CallSource::rawValue(kind) == rawValue) {
            return kind;
        }
    }
    return std::nullopt;
}

} // namespace brindle

std::size_t
std::hash<brindle::CallSource>::operator()(const brindle::CallSource& source) const noexcept {
    std::size_t seed = 0;
    brindle::hashCombine(seed, source.app);
    brindle::hashCombine(seed, source.bundleID);
    brindle::hashCombine(seed, source.kind);
    brindle::hashCombine(seed, source.site);
    brindle::hashCombine(seed, source.familyID);
    return seed;
}
