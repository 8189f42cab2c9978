// What the validation tests share: a seeded input pattern, the host's mark on output worlds and
// how much of it a frame left, pixel comparisons in words, which codes count as documented, the
// commands by name, and the rule breaks the stand-in host recorded, by kind.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "EffectHost.h"
#include "HostWorld.h"
#include "ValidationContext.h"

namespace fxhost {
namespace check {

// The frame most tests render: small, and odd in both directions.
constexpr int kFrameWidth = 61, kFrameHeight = 37;

// Opaque pixels of seeded random colour: the same seed gives the same picture.
void fillPattern(HostWorld& world, unsigned seed);
// The host's mark (A 1, R 2, G 3, B 4) in every pixel, to see what a frame wrote.
void fillMark(HostWorld& world);
// "untouched", "fully written", or "half written: N of M pixels still hold the host's mark".
std::string writtenState(const HostWorld& world);
bool untouched(const HostWorld& world);
bool fullyWritten(const HostWorld& world);

// Empty when both worlds hold the same pixels, else where and how they first differ.
std::string difference(const HostWorld& got, const HostWorld& want);

// A code the host API documents (or the one a fault injected).
bool documented(PF_Err err, PF_Err injected = PF_Err_NONE);
// "PF_Err_BAD_CALLBACK_PARAM (516)"
std::string codeText(PF_Err err);
// "PF_Cmd_SMART_RENDER"
std::string commandName(PF_Cmd cmd);

// Every float slider the effect registered at its default.
void setDefaults(EffectHost& host);
// A pre-render for the whole input; the request every test uses.
PF_Err preRender(EffectHost& host, HostWorld& input);

// One command in the host's order and how to send it.
struct Step {
    PF_Cmd cmd;
    std::function<PF_Err()> send;
};
// The host's order up to a first frame: about, global set-up, parameter set-up (every slider then
// at its default), pre-render, and render of `input` into `output`.
std::vector<Step> firstFrame(EffectHost& host, HostWorld& input, HostWorld& output);
// Global and parameter set-up, the sliders at their defaults; a failure is reported and gives false.
bool setUp(ValidationContext& c, EffectHost& host);

// The host's recorded rule breaks of one kind.
enum class Rule { Suites, Guards, HostContext, Exception };
std::vector<std::string> violations(const EffectHost& host, Rule rule);

// Resident set size of this process in KiB.
long residentKiB();

}  // namespace check
}  // namespace fxhost
