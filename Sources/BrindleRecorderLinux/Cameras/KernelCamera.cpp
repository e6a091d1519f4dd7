#include "BrindleRecorderLinux/Cameras/KernelCamera.hpp"

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>

#include <cerrno>

namespace brindle {

namespace {

/// The error that the kernel answers with, or 0.
int giveBackNoBuffers(const FileDescriptor& camera, v4l2_buf_type kind) {
    v4l2_requestbuffers request{};
    request.count = 0;
    request.type = kind;
    request.memory = V4L2_MEMORY_MMAP;
    return ioctl(camera.number(), VIDIOC_REQBUFS, &request) == 0 ? 0 : errno;
}

} // namespace

bool KernelCamera::isStreaming(const std::string& devicePath) {
    const auto camera = FileDescriptor::open(devicePath, O_RDWR | O_NONBLOCK | O_NOFOLLOW);
    if (!camera) {
        return false;
    }
    int error = giveBackNoBuffers(*camera, V4L2_BUF_TYPE_VIDEO_CAPTURE);
    if (error == EINVAL) {
        error = giveBackNoBuffers(*camera, V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE);
    }
    return error == EBUSY;
}

} // namespace brindle
