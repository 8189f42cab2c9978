#include "HostGLContext.h"

#include <EGL/eglext.h>

#include <cstring>
#include <stdexcept>

namespace fxhost {

namespace {

template <typename F>
F eglProc(const char* name) {
  return reinterpret_cast<F>(eglGetProcAddress(name));
}

// A hardware EGL device if there is one, else Mesa's surfaceless platform; never
// the default display, which would follow a stray DISPLAY to an X server.
EGLDisplay chooseDisplay() {
  auto queryDevices = eglProc<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT");
  auto queryDeviceString = eglProc<PFNEGLQUERYDEVICESTRINGEXTPROC>("eglQueryDeviceStringEXT");
  if (queryDevices && queryDeviceString) {
    EGLDeviceEXT devices[16];
    EGLint count = 0;
    if (queryDevices(16, devices, &count)) {
      for (EGLint i = 0; i < count; ++i) {
        const char* extensions = queryDeviceString(devices[i], EGL_EXTENSIONS);
        if (extensions && std::strstr(extensions, "EGL_MESA_device_software")) continue;
        EGLDisplay display = eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, devices[i], nullptr);
        if (display != EGL_NO_DISPLAY && eglInitialize(display, nullptr, nullptr)) return display;
      }
    }
  }
  EGLDisplay display = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
  if (display != EGL_NO_DISPLAY && eglInitialize(display, nullptr, nullptr)) return display;
  return EGL_NO_DISPLAY;
}

}  // namespace

HostGLContext::HostGLContext() : mDisplay(chooseDisplay()), mContext(EGL_NO_CONTEXT) {
  if (mDisplay == EGL_NO_DISPLAY) {
    throw std::runtime_error("no EGL display: neither an EGL device nor the surfaceless platform is available");
  }
  eglBindAPI(EGL_OPENGL_API);
  const EGLint contextAttributes[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_CONTEXT_MINOR_VERSION, 3,
                                      EGL_CONTEXT_OPENGL_PROFILE_MASK, EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT, EGL_NONE};
  mContext = eglCreateContext(mDisplay, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, contextAttributes);
  if (mContext == EGL_NO_CONTEXT) {
    throw std::runtime_error("EGL refused the host's GL context");
  }
}

HostGLContext::~HostGLContext() {
  if (isCurrent()) releaseCurrent();
  eglDestroyContext(mDisplay, mContext);
}

void HostGLContext::makeCurrent() {
  eglBindAPI(EGL_OPENGL_API);
  if (!eglMakeCurrent(mDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, mContext)) {
    throw std::runtime_error("EGL cannot make the host's GL context current");
  }
}

bool HostGLContext::isCurrent() const { return eglGetCurrentContext() == mContext; }

void HostGLContext::releaseCurrent() {
  EGLDisplay display = eglGetCurrentDisplay();
  if (display != EGL_NO_DISPLAY) {
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  }
}

}  // namespace fxhost
