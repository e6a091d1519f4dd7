// The desktop that the application runs on: one of every service of the seam.
#pragma once

#include "BrindleRecorderApp/Platform/DesktopWords.hpp"
#include "BrindleRecorderCore/Base/TimeZone.hpp"

#include <functional>

namespace brindle {

class AudioObjects;
class CaptureSystem;
class DateProvider;
class DefaultsStore;
class DiagnosticLog;
class Executor;
class FileManager;
class LoginItems;
class MainLoop;
class MovieExporter;
class ProcessRegistry;
class SystemEvents;
class SystemLog;
class UserNotifications;
class VideoEncoders;
class WindowList;
class Workspace;

/// Everything that it refers to must outlive the application.
struct AppEnvironment {
    MainLoop& mainLoop;
    const DateProvider& dateProvider;
    FileManager& fileManager;
    DiagnosticLog& diagnosticLog;
    SystemLog& systemLog;
    AudioObjects& audioObjects;
    const ProcessRegistry& processRegistry;
    const WindowList& windowList;
    CaptureSystem& captureSystem;
    /// The serial queue on which capture is started and stopped.
    Executor& captureSessionQueue;
    MovieExporter& movieExporter;
    UserNotifications& notifications;
    DefaultsStore& defaults; ///< the user's preferences
    DefaultsStore& state;    ///< what the program remembers for itself
    LoginItems& loginItems;
    Workspace& workspace;
    /// Absent where the desktop announces neither sleep nor the end of the session.
    SystemEvents* systemEvents = nullptr;
    /// Absent where the desktop has one encoder of pictures, which is always there.
    VideoEncoders* videoEncoders = nullptr;
    /// The user's time zone at the moment.
    std::function<TimeZone()> currentTimeZone = TimeZone::current;
    /// Lets the clock follow corrections of the wall time. Called only while no call is going on,
    /// so that no call is ever lengthened, cut or split by one.
    std::function<void()> takeOverWallTime = [] {
    };
    /// What this desktop calls its own things.
    DesktopWords words{};
};

} // namespace brindle
