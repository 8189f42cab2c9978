// What the fuzz targets share: a finding ends the run with its reason on standard error (libFuzzer
// keeps the input that made it), and the shipped effect, set up once for the whole process.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "EffectHost.h"

namespace fuzzhost {

[[noreturn]] inline void finding(const char* target, const std::string& what) {
    std::fprintf(stderr, "%s: %s\n", target, what.c_str());
    std::abort();
}

inline fxhost::EffectHost& effect(const char* target) {
    static fxhost::EffectHost* sHost = [target] {
        auto* made = new fxhost::EffectHost(OSTRIVANE_BUNDLE_PATH);
        if (made->globalSetup() != PF_Err_NONE || made->paramsSetup() != PF_Err_NONE) finding(target, "set-up failed");
        return made;
    }();
    return *sHost;
}

}  // namespace fuzzhost
