#include "EGLPlatform.h"

#include <EGL/eglext.h>

#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "PFTypes.h"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

struct DisplayRecord {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLConfig config = EGL_NO_CONFIG_KHR;
    const char* platform = "";
};

[[noreturn]] void fail(const std::string& what) {
    std::cout << "EGL error: " << what << " (EGL error 0x" << std::hex << eglGetError() << std::dec << ")"
              << std::endl;
    throw int(PF_Err_INTERNAL_STRUCT_DAMAGED);
}

bool hasExtension(const char* list, const char* name) {
    if (list == nullptr) return false;
    const std::size_t length = std::strlen(name);
    for (const char* at = std::strstr(list, name); at != nullptr; at = std::strstr(at + 1, name)) {
        const bool startsWord = at == list || at[-1] == ' ';
        const bool endsWord = at[length] == '\0' || at[length] == ' ';
        if (startsWord && endsWord) return true;
    }
    return false;
}

bool initialise(EGLDisplay display) {
    EGLint major = 0;
    EGLint minor = 0;
    return display != EGL_NO_DISPLAY && eglInitialize(display, &major, &minor) == EGL_TRUE;
}

// A software EGL device is Mesa's llvmpipe dressed as a device; the surfaceless platform gives the
// same renderer with less ceremony, so only hardware devices are taken from the device list.
EGLDisplay hardwareDeviceDisplay(PFNEGLGETPLATFORMDISPLAYEXTPROC getPlatformDisplay) {
    auto queryDevices = reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
    auto queryDeviceString =
        reinterpret_cast<PFNEGLQUERYDEVICESTRINGEXTPROC>(eglGetProcAddress("eglQueryDeviceStringEXT"));
    if (queryDevices == nullptr || queryDeviceString == nullptr) return EGL_NO_DISPLAY;
    EGLint count = 0;
    if (queryDevices(0, nullptr, &count) != EGL_TRUE || count <= 0) return EGL_NO_DISPLAY;
    std::vector<EGLDeviceEXT> devices(static_cast<std::size_t>(count));
    if (queryDevices(count, devices.data(), &count) != EGL_TRUE) return EGL_NO_DISPLAY;
    for (EGLint i = 0; i < count; ++i) {
        if (hasExtension(queryDeviceString(devices[i], EGL_EXTENSIONS), "EGL_MESA_device_software")) continue;
        EGLDisplay display = getPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, devices[i], nullptr);
        if (initialise(display)) return display;
    }
    return EGL_NO_DISPLAY;
}

// The closest to 24 bits of colour with no alpha, depth or stencil; the default frame buffer is
// never drawn to, so any OpenGL-renderable configuration serves when no exact one exists.
EGLConfig chooseConfig(EGLDisplay display) {
    const EGLint attributes[] = {
        EGL_RED_SIZE,   8, EGL_GREEN_SIZE,   8, EGL_BLUE_SIZE,    8, EGL_ALPHA_SIZE,      0,
        EGL_DEPTH_SIZE, 0, EGL_STENCIL_SIZE, 0, EGL_SURFACE_TYPE, 0, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
        EGL_NONE};
    EGLint count = 0;
    if (eglChooseConfig(display, attributes, nullptr, 0, &count) == EGL_TRUE && count > 0) {
        std::vector<EGLConfig> configs(static_cast<std::size_t>(count));
        eglChooseConfig(display, attributes, configs.data(), count, &count);
        for (EGLint i = 0; i < count; ++i) {
            EGLint alpha = 0, depth = 0, stencil = 0;
            eglGetConfigAttrib(display, configs[i], EGL_ALPHA_SIZE, &alpha);
            eglGetConfigAttrib(display, configs[i], EGL_DEPTH_SIZE, &depth);
            eglGetConfigAttrib(display, configs[i], EGL_STENCIL_SIZE, &stencil);
            if (alpha == 0 && depth == 0 && stencil == 0) return configs[i];
        }
        if (count > 0) return configs[0];
    }
    if (hasExtension(eglQueryString(display, EGL_EXTENSIONS), "EGL_KHR_no_config_context"))
        return EGL_NO_CONFIG_KHR;
    fail("no OpenGL configuration on the EGL display");
}

DisplayRecord openDisplay() {
    const char* clientExtensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    auto getPlatformDisplay =
        reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
    if (getPlatformDisplay == nullptr) fail("eglGetPlatformDisplayEXT is missing");

    DisplayRecord record;
    if (hasExtension(clientExtensions, "EGL_EXT_platform_device")) {
        record.display = hardwareDeviceDisplay(getPlatformDisplay);
        record.platform = "device";
    }
    if (record.display == EGL_NO_DISPLAY) {
        if (!hasExtension(clientExtensions, "EGL_MESA_platform_surfaceless"))
            fail("no GPU EGL device and no surfaceless platform");
        record.display = getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        record.platform = "surfaceless";
        if (!initialise(record.display)) fail("the surfaceless EGL display refused to initialise");
    }
    if (eglBindAPI(EGL_OPENGL_API) != EGL_TRUE) fail("the EGL display offers no desktop OpenGL");
    record.config = chooseConfig(record.display);
    return record;
}

// A function-local static is built once even when threads race for it, and built again on the
// next call if opening threw.
const DisplayRecord& displayRecord() {
    static const DisplayRecord record = openDisplay();
    return record;
}

}  // namespace

EGLDisplay EGLPlatform::display() {
    return displayRecord().display;
}

const char* EGLPlatform::platformName() {
    return displayRecord().platform;
}

EGLContext EGLPlatform::createContext(EGLContext share) {
    const DisplayRecord& record = displayRecord();
    // The bound API is a property of the thread, not of the display.
    if (eglBindAPI(EGL_OPENGL_API) != EGL_TRUE) fail("eglBindAPI(EGL_OPENGL_API) was refused");
    const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION,
                                 3,
                                 EGL_CONTEXT_MINOR_VERSION,
                                 3,
                                 EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                 EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                 EGL_NONE};
    EGLContext context = eglCreateContext(record.display, record.config, share, attributes);
    if (context == EGL_NO_CONTEXT) fail("eglCreateContext refused an OpenGL 3.3 core context");
    return context;
}

void EGLPlatform::makeCurrent(EGLContext context) {
    const EGLDisplay display = EGLPlatform::display();
    if (eglBindAPI(EGL_OPENGL_API) != EGL_TRUE) fail("eglBindAPI(EGL_OPENGL_API) was refused");
    if (eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context) != EGL_TRUE)
        fail("eglMakeCurrent refused the context");
}

EGLContext EGLPlatform::currentContext() {
    const EGLenum api = eglQueryAPI();
    if (api == EGL_OPENGL_API) return eglGetCurrentContext();
    eglBindAPI(EGL_OPENGL_API);
    EGLContext context = eglGetCurrentContext();
    eglBindAPI(api);
    return context;
}

EGLPlatform::Current EGLPlatform::current() {
    Current state;
    state.api = eglQueryAPI();
    state.display = eglGetCurrentDisplay();
    state.context = eglGetCurrentContext();
    state.draw = eglGetCurrentSurface(EGL_DRAW);
    state.read = eglGetCurrentSurface(EGL_READ);
    return state;
}

bool EGLPlatform::setCurrent(const Current& state) {
    if (state.context == EGL_NO_CONTEXT || state.display == EGL_NO_DISPLAY) return false;
    eglBindAPI(state.api);
    return eglMakeCurrent(state.display, state.draw, state.read, state.context) == EGL_TRUE;
}

void EGLPlatform::destroyContext(EGLContext context) {
    if (context != EGL_NO_CONTEXT) eglDestroyContext(display(), context);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
