#include "Renderer.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <dirent.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace fxhost {

namespace {

// The GPU device nodes a hardware GL driver would open: DRM render nodes, and the nodes of the
// driver that brings its own EGL device.
std::string firstGPUNode() {
    if (DIR* dri = opendir("/dev/dri")) {
        std::string found;
        while (const dirent* entry = readdir(dri)) {
            if (std::strncmp(entry->d_name, "renderD", 7) == 0) {
                found = std::string("/dev/dri/") + entry->d_name;
                break;
            }
        }
        closedir(dri);
        if (!found.empty()) return found;
    }
    if (access("/dev/nvidiactl", F_OK) == 0) return "/dev/nvidiactl";
    return "";
}

bool hasWord(const char* list, const char* word) {
    if (!list) return false;
    const std::size_t length = std::strlen(word);
    for (const char* at = std::strstr(list, word); at; at = std::strstr(at + 1, word)) {
        if ((at == list || at[-1] == ' ') && (at[length] == '\0' || at[length] == ' ')) return true;
    }
    return false;
}

// The first EGL device that is not Mesa's software one, in words; empty when there is none.
std::string hardwareEGLDevice() {
    if (!hasWord(eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS), "EGL_EXT_device_enumeration") &&
        !hasWord(eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS), "EGL_EXT_device_base"))
        return "";
    auto queryDevices = reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
    auto queryString = reinterpret_cast<PFNEGLQUERYDEVICESTRINGEXTPROC>(eglGetProcAddress("eglQueryDeviceStringEXT"));
    if (!queryDevices || !queryString) return "";
    EGLint count = 0;
    if (queryDevices(0, nullptr, &count) != EGL_TRUE || count <= 0) return "";
    std::vector<EGLDeviceEXT> devices(static_cast<std::size_t>(count));
    if (queryDevices(count, devices.data(), &count) != EGL_TRUE) return "";
    for (EGLint i = 0; i < count; ++i) {
        const char* extensions = queryString(devices[i], EGL_EXTENSIONS);
        if (hasWord(extensions, "EGL_MESA_device_software")) continue;
        const char* node = hasWord(extensions, "EGL_EXT_device_drm") ? queryString(devices[i], EGL_DRM_DEVICE_FILE_EXT)
                                                                      : nullptr;
        return node ? node : "an EGL device";
    }
    return "";
}

AutoRenderer decideAuto() {
    // No device node means no hardware GL whatever EGL would say, and asking EGL costs its start.
    const std::string node = firstGPUNode();
    if (node.empty()) return {Renderer::CPU, "no GPU device node (/dev/dri/renderD*, /dev/nvidiactl): GL would be a software rasteriser"};
    const std::string device = hardwareEGLDevice();
    if (device.empty()) return {Renderer::CPU, "EGL offers only a software device (" + node + " has no GL driver)"};
    return {Renderer::GL, "GPU EGL device " + device};
}

}  // namespace

Renderer parseRenderer(const std::string& word) {
    if (word == "auto") return Renderer::Auto;
    if (word == "gl") return Renderer::GL;
    if (word == "cpu") return Renderer::CPU;
    throw std::invalid_argument("unknown renderer \"" + word + "\" (auto, gl or cpu)");
}

const char* rendererName(Renderer renderer) {
    switch (renderer) {
        case Renderer::GL:
            return "gl";
        case Renderer::CPU:
            return "cpu";
        default:
            return "auto";
    }
}

const AutoRenderer& autoRenderer() {
    static const AutoRenderer decided = decideAuto();
    return decided;
}

Renderer resolveRenderer(Renderer requested) {
    return requested == Renderer::Auto ? autoRenderer().renderer : requested;
}

Renderer rendererFromEnvironment() {
    const char* word = std::getenv("FXHOST_RENDERER");
    if (!word || !*word) return Renderer::Auto;
    try {
        return parseRenderer(word);
    } catch (const std::invalid_argument& e) {
        throw std::runtime_error(std::string("FXHOST_RENDERER: ") + e.what());
    }
}

}  // namespace fxhost
