#include "HostSuites.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "AEGPSuites.h"
#include "DrawbotSuites.h"
#include "HostWorld.h"
#include "OstrivaneRendererSuite.h"
#include "PFSuites.h"

namespace fxhost {

namespace {

HostSuites* sActive = nullptr;

struct HandleBlock {
    void* data;  // a PF_Handle points here, so *handle is the block's memory
    A_HandleSize size;
};

struct MemBlock {
    std::string text;
};

A_Err notImplemented() {
    return PF_Err_INVALID_CALLBACK;
}

}  // namespace

struct SuiteFunctions {
    static SPErr acquire(const char* name, int32_t version, const void** suite);
    static SPErr release(const char* name, int32_t version);

    // PF Handle Suite
    static PF_Handle newHandle(A_HandleSize size) {
        HostSuites* host = sActive;
        if (host && host->injected(Callback::NewHandle) != 0) {
            return nullptr;
        }
        void* data = std::calloc(1, size ? size : 1);
        if (!data) return nullptr;
        if (host) ++host->mLiveHandles;
        return reinterpret_cast<PF_Handle>(new HandleBlock{data, size});
    }
    static void* lockHandle(PF_Handle handle) { return handle ? *handle : nullptr; }
    static void unlockHandle(PF_Handle) {}
    static void disposeHandle(PF_Handle handle) {
        if (!handle) return;
        HandleBlock* block = reinterpret_cast<HandleBlock*>(handle);
        std::free(block->data);
        delete block;
        if (sActive) --sActive->mLiveHandles;
    }
    static A_HandleSize handleSize(PF_Handle handle) {
        return handle ? reinterpret_cast<HandleBlock*>(handle)->size : 0;
    }
    static PF_Err resizeHandle(A_HandleSize size, PF_Handle* handle) {
        if (sActive && sActive->injected(Callback::ResizeHandle) != 0) return PF_Err_OUT_OF_MEMORY;
        HandleBlock* block = reinterpret_cast<HandleBlock*>(*handle);
        void* data = std::realloc(block->data, size ? size : 1);
        if (!data) return PF_Err_OUT_OF_MEMORY;
        block->data = data;
        block->size = size;
        return PF_Err_NONE;
    }

    // PF iterateFloat Suite: every pixel of the overlap of source and destination.
    static PF_Err iterate(PF_InData*, A_long, A_long, PF_EffectWorld* src, const PF_Rect*, void* refcon,
                          PF_IteratePixelFloatFunc pix_fn, PF_EffectWorld* dst) {
        if (sActive) {
            if (const PF_Err err = sActive->injected(Callback::Iterate)) return err;
        }
        if (!src || !pix_fn) return PF_Err_BAD_CALLBACK_PARAM;
        HostWorld* srcWorld = HostWorld::fromDef(src);
        HostWorld* dstWorld = HostWorld::fromDef(dst);
        if ((srcWorld && srcWorld->depth() != Depth::Float) ||
            (dstWorld && dstWorld->depth() != Depth::Float)) {
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        const A_long width = dst ? std::min(src->width, dst->width) : src->width;
        const A_long height = dst ? std::min(src->height, dst->height) : src->height;
        for (A_long y = 0; y < height; ++y) {
            for (A_long x = 0; x < width; ++x) {
                auto* in =
                    reinterpret_cast<PF_PixelFloat*>(static_cast<char*>(src->data) + y * src->rowbytes) + x;
                PF_PixelFloat* out = dst ? reinterpret_cast<PF_PixelFloat*>(static_cast<char*>(dst->data) +
                                                                            y * dst->rowbytes) +
                                               x
                                         : nullptr;
                if (const PF_Err err = pix_fn(refcon, x, y, in, out)) return err;
            }
        }
        return PF_Err_NONE;
    }

    // AEGP Utility Suite
    static A_Err chooseRenderer(PF_ProgPtr, A_long offered, A_long* chosen) {
        if (!chosen) return PF_Err_BAD_CALLBACK_PARAM;
        if (sActive && sActive->mRendererChooser) return sActive->mRendererChooser(offered, chosen);
        if (!(offered & kOstrivaneRenderer_GL)) return PF_Err_BAD_CALLBACK_PARAM;
        *chosen = kOstrivaneRenderer_GL;
        return A_Err_NONE;
    }

    static A_Err reportInfo(AEGP_PluginID, const A_char* text) {
        std::printf("%s\n", text ? text : "");
        return A_Err_NONE;
    }
    static A_Err executeScript(AEGP_PluginID, const A_char* script, const A_Boolean, AEGP_MemHandle* resultPH,
                               AEGP_MemHandle* errorPH) {
        std::string result;
        const bool answered =
            sActive && sActive->mScriptHandler && sActive->mScriptHandler(script ? script : "", result);
        if (resultPH) *resultPH = answered ? newMem(result) : nullptr;
        if (errorPH) *errorPH = newMem("");
        return answered ? A_Err(A_Err_NONE) : A_Err(PF_Err_INVALID_CALLBACK);
    }

    // AEGP Memory Suite: handles of text.
    static AEGP_MemHandle newMem(const std::string& text) {
        if (sActive) ++sActive->mLiveMemHandles;
        return reinterpret_cast<AEGP_MemHandle>(new MemBlock{text});
    }
    static A_Err newMemHandle(AEGP_PluginID, const A_char*, AEGP_MemSize size, AEGP_MemFlag,
                              AEGP_MemHandle* memPH) {
        if (sActive) {
            if (const PF_Err err = sActive->injected(Callback::NewMemHandle)) {
                *memPH = nullptr;
                return err;
            }
        }
        *memPH = newMem(std::string(size, '\0'));
        return A_Err_NONE;
    }
    static A_Err freeMemHandle(AEGP_MemHandle memH) {
        if (!memH) return PF_Err_BAD_CALLBACK_PARAM;
        delete reinterpret_cast<MemBlock*>(memH);
        if (sActive) --sActive->mLiveMemHandles;
        return A_Err_NONE;
    }
    static A_Err lockMemHandle(AEGP_MemHandle memH, void** ptr) {
        *ptr = memH ? &reinterpret_cast<MemBlock*>(memH)->text[0] : nullptr;
        return memH ? A_Err(A_Err_NONE) : A_Err(PF_Err_BAD_CALLBACK_PARAM);
    }
    static A_Err unlockMemHandle(AEGP_MemHandle) { return A_Err_NONE; }
    static A_Err memHandleSize(AEGP_MemHandle memH, AEGP_MemSize* size) {
        *size = memH ? static_cast<AEGP_MemSize>(reinterpret_cast<MemBlock*>(memH)->text.size()) : 0;
        return A_Err_NONE;
    }
};

namespace {

const PF_ANSICallbacksSuite1 kANSISuite = {std::atan,    std::atan2,  std::ceil, std::cos,   std::exp,
                                           std::fabs,    std::floor,  std::fmod, std::hypot, std::log,
                                           std::log10,   std::pow,    std::sin,  std::sqrt,  std::tan,
                                           std::sprintf, std::strcpy, std::asin, std::acos};

const PF_iterateFloatSuite1 kIterateFloatSuite = {SuiteFunctions::iterate};

const PF_HandleSuite1 kHandleSuite = {SuiteFunctions::newHandle,    SuiteFunctions::lockHandle,
                                      SuiteFunctions::unlockHandle, SuiteFunctions::disposeHandle,
                                      SuiteFunctions::handleSize,   SuiteFunctions::resizeHandle};

// Project suites the effect holds but doesn't call: every member answers "not available".
const AEGP_PFInterfaceSuite1 kPFInterfaceSuite = {
    [](PF_ProgPtr, AEGP_LayerH*) { return notImplemented(); },
    [](AEGP_PluginID, PF_ProgPtr, AEGP_EffectRefH*) { return notImplemented(); },
    [](PF_ProgPtr, A_long, A_u_long, void*) { return notImplemented(); }};
const AEGP_LayerSuite5 kLayerSuite = {[](AEGP_CompH, A_long*) { return notImplemented(); },
                                      [](AEGP_CompH, A_long, AEGP_LayerH*) { return notImplemented(); },
                                      [](AEGP_LayerH, AEGP_CompH*) { return notImplemented(); }};
const AEGP_ItemSuite6 kItemSuite = {[](void*, AEGP_ItemH*) { return notImplemented(); },
                                    [](void*, AEGP_ItemH, AEGP_ItemH*) { return notImplemented(); },
                                    [](AEGP_ItemH, A_long*, A_long*) { return notImplemented(); }};
const AEGP_UtilitySuite5 kUtilitySuite = {SuiteFunctions::reportInfo, SuiteFunctions::executeScript};
const AEGP_MemorySuite1 kMemorySuite = {SuiteFunctions::newMemHandle, SuiteFunctions::freeMemHandle,
                                        SuiteFunctions::lockMemHandle, SuiteFunctions::unlockMemHandle,
                                        SuiteFunctions::memHandleSize};
const DRAWBOT_DrawbotSuite1 kDrawbotSuite = {
    [](DRAWBOT_DrawRef, DRAWBOT_SupplierRef*) { return notImplemented(); },
    [](DRAWBOT_DrawRef, DRAWBOT_SurfaceRef*) { return notImplemented(); }};
const DRAWBOT_SupplierSuite1 kSupplierSuite = {
    [](DRAWBOT_SupplierRef, DRAWBOT_PathRef*) { return notImplemented(); }};
const DRAWBOT_SurfaceSuite2 kSurfaceSuite = {[](DRAWBOT_SurfaceRef) { return notImplemented(); }};
const DRAWBOT_PathSuite1 kPathSuite = {[](DRAWBOT_PathRef, float, float) { return notImplemented(); },
                                       [](DRAWBOT_PathRef, float, float) { return notImplemented(); }};

const OstrivaneRendererSuite1 kRendererSuite = {SuiteFunctions::chooseRenderer};

struct ServedSuite {
    const char* name;
    int32_t version;
    const void* table;
};

const ServedSuite kServedSuites[] = {
    {kPFANSISuite, kPFANSISuiteVersion1, &kANSISuite},
    {kPFIterateFloatSuite, kPFIterateFloatSuiteVersion1, &kIterateFloatSuite},
    {kPFHandleSuite, kPFHandleSuiteVersion1, &kHandleSuite},
    {kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1, &kPFInterfaceSuite},
    {kAEGPLayerSuite, kAEGPLayerSuiteVersion5, &kLayerSuite},
    {kAEGPItemSuite, kAEGPItemSuiteVersion6, &kItemSuite},
    {kAEGPUtilitySuite, kAEGPUtilitySuiteVersion5, &kUtilitySuite},
    {kAEGPMemorySuite, kAEGPMemorySuiteVersion1, &kMemorySuite},
    {kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1, &kDrawbotSuite},
    {kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1, &kSupplierSuite},
    {kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version2, &kSurfaceSuite},
    {kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_Version1, &kPathSuite},
    {kOstrivaneRendererSuite, kOstrivaneRendererSuiteVersion1, &kRendererSuite},
};

}  // namespace

SPErr SuiteFunctions::acquire(const char* name, int32_t version, const void** suite) {
    *suite = nullptr;
    HostSuites* host = sActive;
    if (!host || !name) return kSPSuiteNotFoundError;
    if (host->mFaults.missingSuites.count(name)) return kSPSuiteNotFoundError;
    for (const ServedSuite& served : kServedSuites) {
        if (std::strcmp(served.name, name) == 0 && served.version == version) {
            // A null table with success is a fault a real host has been seen to commit; it holds nothing.
            if (host->mFaults.nullTableSuites.count(name)) return kSPNoError;
            ++host->mAcquired[name];
            *suite = served.table;
            return kSPNoError;
        }
    }
    return kSPSuiteNotFoundError;
}

SPErr SuiteFunctions::release(const char* name, int32_t) {
    if (sActive && name) ++sActive->mReleased[name];
    return kSPNoError;
}

HostSuites::HostSuites(const FaultPlan& faults) : mFaults(faults), mBasicSuite() {
    mBasicSuite.AcquireSuite = SuiteFunctions::acquire;
    mBasicSuite.ReleaseSuite = SuiteFunctions::release;
    mBasicSuite.IsEqual = [](const char* a, const char* b) -> SPBoolean { return std::strcmp(a, b) == 0; };
    mBasicSuite.AllocateBlock = [](size_t size, void** block) -> SPErr {
        if (const PF_Err err = sActive ? sActive->injected(Callback::AllocateBlock) : PF_Err_NONE) {
            *block = nullptr;
            return err;
        }
        *block = std::malloc(size);
        return *block ? SPErr(kSPNoError) : SPErr(PF_Err_OUT_OF_MEMORY);
    };
    mBasicSuite.FreeBlock = [](void* block) -> SPErr {
        std::free(block);
        return kSPNoError;
    };
    mBasicSuite.ReallocateBlock = [](void* block, size_t size, void** newBlock) -> SPErr {
        if (const PF_Err err = sActive ? sActive->injected(Callback::AllocateBlock) : PF_Err_NONE) {
            *newBlock = nullptr;
            return err;
        }
        *newBlock = std::realloc(block, size);
        return *newBlock ? SPErr(kSPNoError) : SPErr(PF_Err_OUT_OF_MEMORY);
    };
    mBasicSuite.Undefined = []() -> SPErr { return kSPNoError; };
    sActive = this;
}

HostSuites::~HostSuites() {
    if (sActive == this) sActive = nullptr;
}

const PF_ANSICallbacks& HostSuites::ansiTable() {
    return kANSISuite;
}

std::vector<std::string> HostSuites::servedSuiteNames() {
    std::vector<std::string> names;
    for (const ServedSuite& served : kServedSuites) names.push_back(served.name);
    return names;
}

HostSuites* HostSuites::active() {
    return sActive;
}

int HostSuites::acquired(const std::string& name) const {
    auto it = mAcquired.find(name);
    return it == mAcquired.end() ? 0 : it->second;
}

int HostSuites::released(const std::string& name) const {
    auto it = mReleased.find(name);
    return it == mReleased.end() ? 0 : it->second;
}

std::string HostSuites::unbalanced() const {
    std::string text;
    std::map<std::string, int> names = mAcquired;
    names.insert(mReleased.begin(), mReleased.end());
    for (const auto& entry : names) {
        const int a = acquired(entry.first), r = released(entry.first);
        if (a != r) {
            if (!text.empty()) text += ", ";
            text += entry.first + " (acquired " + std::to_string(a) + ", released " + std::to_string(r) + ")";
        }
    }
    return text;
}

PF_Err HostSuites::injected(Callback callback, int paramIndex) {
    const int call = ++mCalls[callback];
    for (const Fault& fault : mFaults.faults) {
        if (fault.callback != callback) continue;
        if (fault.onCall != 0 && fault.onCall != call) continue;
        if (fault.paramIndex >= 0 && fault.paramIndex != paramIndex) continue;
        // Memory the host cannot give is always out of memory, whatever code the fault names.
        const bool memory = callback == Callback::NewHandle || callback == Callback::ResizeHandle ||
                            callback == Callback::NewMemHandle || callback == Callback::AllocateBlock;
        return memory ? PF_Err_OUT_OF_MEMORY : fault.code;
    }
    return PF_Err_NONE;
}

int HostSuites::calls(Callback callback) const {
    auto it = mCalls.find(callback);
    return it == mCalls.end() ? 0 : it->second;
}

}  // namespace fxhost
