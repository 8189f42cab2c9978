// The suites the stand-in host serves through its SPBasicSuite, by name and
// version, with acquisitions and releases counted per name. The suite tables
// are plain C function tables, so they reach the one active HostSuites through
// a process-wide pointer: one host serves at a time, as one host loads a bundle.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "FaultPlan.h"
#include "SPBasic.h"

namespace fxhost {

class HostSuites {
public:
    // A script handler answers AEGP_ExecuteScript: it gets the script text and
    // sets the result text; returning false leaves the result handle null.
    using ScriptHandler = std::function<bool(const std::string& script, std::string& result)>;

    explicit HostSuites(const FaultPlan& faults);
    ~HostSuites();

    HostSuites(const HostSuites&) = delete;
    HostSuites& operator=(const HostSuites&) = delete;

    SPBasicSuite* basicSuite() { return &mBasicSuite; }

    int acquired(const std::string& name) const;
    int released(const std::string& name) const;
    // Names whose acquisitions and releases differ, as "name (acquired a, released r)".
    std::string unbalanced() const;
    int liveHandles() const { return mLiveHandles; }
    int liveMemHandles() const { return mLiveMemHandles; }

    void setScriptHandler(ScriptHandler handler) { mScriptHandler = std::move(handler); }

    // Answers "Ostrivane Renderer Suite": gets the effect's offered mask and sets the chosen bit,
    // or returns an error code. Without a chooser the suite answers GL where it is offered.
    using RendererChooser = std::function<A_Err(A_long offered, A_long* chosen)>;
    void setRendererChooser(RendererChooser chooser) { mRendererChooser = std::move(chooser); }

    // Counts a call of a faultable callback and gives the injected code, or 0.
    PF_Err injected(Callback callback, int paramIndex = -1);
    int calls(Callback callback) const;
    void resetCalls() { mCalls.clear(); }

    static HostSuites* active();
    // The C library functions of "PF ANSI Suite", which PF_UtilCallbacks::ansi holds too.
    static const PF_ANSICallbacks& ansiTable();
    // The names of the suites served, in the order they are looked up.
    static std::vector<std::string> servedSuiteNames();

private:
    friend struct SuiteFunctions;

    const FaultPlan& mFaults;
    SPBasicSuite mBasicSuite;
    std::map<std::string, int> mAcquired;
    std::map<std::string, int> mReleased;
    std::map<Callback, int> mCalls;
    int mLiveHandles = 0;
    int mLiveMemHandles = 0;
    ScriptHandler mScriptHandler;
    RendererChooser mRendererChooser;
};

}  // namespace fxhost
