// Owners of GLib's objects: each gives its object back when it goes.
#pragma once

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <memory>

namespace brindle::gio {

template <auto release>
struct Releaser {
    template <class Object>
    void operator()(Object* object) const {
        release(object);
    }
};

using Text = std::unique_ptr<char, Releaser<g_free>>;
using Words = std::unique_ptr<char*, Releaser<g_strfreev>>;
using KeyFile = std::unique_ptr<GKeyFile, Releaser<g_key_file_unref>>;
using AppInfo = std::unique_ptr<GAppInfo, Releaser<g_object_unref>>;
using DesktopAppInfo = std::unique_ptr<GDesktopAppInfo, Releaser<g_object_unref>>;

} // namespace brindle::gio
