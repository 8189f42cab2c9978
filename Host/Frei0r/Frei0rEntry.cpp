// The frei0r 1.2 entry points. Each is a firewall: nothing thrown inside reaches the
// application, which may not be C++ at all; a failure becomes frei0r's own answer (0 from
// f0r_construct, an unchanged frame from f0r_update) and a line on standard error.
#include <cstdint>
#include <cstdio>
#include <exception>
#include <mutex>
#include <new>
#include <string>
#include <vector>

// frei0r.h declares C functions without saying so.
extern "C" {
#include <frei0r.h>
}

#include "Frei0rInstance.h"
#include "SharedEffect.h"

#ifndef FREI0R_MODULE_NAME
#error "FREI0R_MODULE_NAME, FREI0R_EFFECT_NAME, FREI0R_BUNDLE_CANDIDATES and the versions come from the build"
#endif

namespace {

using fxhost::Frei0rInstance;
using fxhost::SharedEffect;

// Configured once, whichever entry point comes first: MLT asks for the plug-in's information
// before (or without) f0r_init.
SharedEffect& effect() {
    static const bool configured =
        (SharedEffect::configure(FREI0R_BUNDLE_CANDIDATES, FREI0R_EFFECT_NAME), true);
    (void)configured;
    return SharedEffect::instance();
}

void complain(const char* where, const char* why) {
    std::fprintf(stderr, "%s: %s: %s\n", FREI0R_MODULE_NAME, where, why);
}

template <typename Body>
void firewall(const char* where, Body body) {
    try {
        body();
    } catch (const std::exception& e) {
        complain(where, e.what());
    } catch (...) {
        complain(where, "unknown failure");
    }
}

}  // namespace

extern "C" {

// Global set-up waits for the first instance: init/deinit come unpaired from some hosts (MLT
// calls f0r_init for every filter and f0r_deinit before its last instance goes), so the
// instances, not these two, decide when the effect is set up and set down.
__attribute__((visibility("default"))) int f0r_init() {
    return 1;
}

__attribute__((visibility("default"))) void f0r_deinit() {}

__attribute__((visibility("default"))) void f0r_get_plugin_info(f0r_plugin_info_t* info) {
    if (!info) return;
    firewall("f0r_get_plugin_info", [info] {
        SharedEffect& shared = effect();
        std::lock_guard<std::mutex> hold(shared.mutex());
        const fxhost::EffectDescription& description = shared.description();
        info->name = description.name.c_str();
        info->author = FREI0R_AUTHOR;
        info->plugin_type = F0R_PLUGIN_TYPE_FILTER;
        info->color_model = F0R_COLOR_MODEL_RGBA8888;
        info->frei0r_version = FREI0R_MAJOR_VERSION;
        info->major_version = FREI0R_MODULE_MAJOR;
        info->minor_version = FREI0R_MODULE_MINOR;
        info->num_params = static_cast<int>(description.sliders.size());
        info->explanation = description.explanation.c_str();
    });
}

__attribute__((visibility("default"))) void f0r_get_param_info(f0r_param_info_t* info, int index) {
    if (!info) return;
    firewall("f0r_get_param_info", [info, index] {
        SharedEffect& shared = effect();
        std::lock_guard<std::mutex> hold(shared.mutex());
        const fxhost::EffectDescription& description = shared.description();
        if (index < 0 || index >= static_cast<int>(description.sliders.size())) return;
        // The texts live as long as the description, which is kept for the life of the module.
        static std::vector<std::string> explanations;
        if (explanations.size() != description.sliders.size()) {
            explanations.clear();
            for (const fxhost::SliderMapping& slider : description.sliders) explanations.push_back(slider.explanation());
        }
        info->name = description.sliders[index].name().c_str();
        info->type = F0R_PARAM_DOUBLE;
        info->explanation = explanations[index].c_str();
    });
}

__attribute__((visibility("default"))) f0r_instance_t f0r_construct(unsigned int width, unsigned int height) {
    Frei0rInstance* instance = nullptr;
    firewall("cannot construct an instance", [&] {
        SharedEffect& shared = effect();
        std::lock_guard<std::mutex> hold(shared.mutex());
        instance = new Frei0rInstance(shared, width, height);
    });
    return instance;
}

__attribute__((visibility("default"))) void f0r_destruct(f0r_instance_t instance) {
    if (!instance) return;
    firewall("f0r_destruct", [instance] {
        std::lock_guard<std::mutex> hold(effect().mutex());
        delete static_cast<Frei0rInstance*>(instance);
    });
}

__attribute__((visibility("default"))) void f0r_set_param_value(f0r_instance_t instance, f0r_param_t param,
                                                                int index) {
    if (!instance || !param) return;
    firewall("f0r_set_param_value", [=] {
        std::lock_guard<std::mutex> hold(effect().mutex());
        static_cast<Frei0rInstance*>(instance)->setParam(index, *static_cast<const double*>(param));
    });
}

__attribute__((visibility("default"))) void f0r_get_param_value(f0r_instance_t instance, f0r_param_t param,
                                                                int index) {
    if (!instance || !param) return;
    firewall("f0r_get_param_value", [=] {
        std::lock_guard<std::mutex> hold(effect().mutex());
        *static_cast<double*>(param) = static_cast<Frei0rInstance*>(instance)->param(index);
    });
}

__attribute__((visibility("default"))) void f0r_update(f0r_instance_t instance, double time,
                                                       const uint32_t* inframe, uint32_t* outframe) {
    if (!instance || !inframe || !outframe) return;
    firewall("f0r_update", [=] {
        std::lock_guard<std::mutex> hold(effect().mutex());
        static_cast<Frei0rInstance*>(instance)->update(time, reinterpret_cast<const uint8_t*>(inframe),
                                                       reinterpret_cast<uint8_t*>(outframe));
    });
}

}  // extern "C"
