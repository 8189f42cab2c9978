#!/bin/bash
# Plants one-line faults in the plug-in, its library and fxhost (the stand-in host, frame lists,
# sequence plans, images, interruption, progress files, the farm's batch script and look, movies,
# the preview, keys and looks), one at a time,
# builds and runs the suites, and reports whether the suites caught each. The tree is put back
# after every fault. Usage: bash scripts/mutants.sh [build-dir] [first-number]; DRY=1 only checks
# that each applies, ONLY=2,7 plants only those, LIMIT=SECONDS bounds one suite run (1500).
# TARGETS="fxhost TestCLI" builds only those and TESTS='^(CLI|Image)$' runs only the matching
# suites: a fault one of them catches is caught by the whole suite too, but a miss says nothing.
# GTEST_FILTER='MovieWriterTest.*' (read by every test program) narrows a slow suite further.
# Not part of CI: from a quarter of a minute a fault in the effect to several for the farm's.
set -u
cd "$(dirname "$0")/.."
BUILD=${1:-build-mutants}
FIRST=${2:-1}
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$(dirname "$PWD")}
[ -n "${DRY:-}" ] || [ -d "$BUILD" ] || cmake -S . -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DOSTRIVANE_BENCH=OFF -DOSTRIVANE_UNITY_BUILD=OFF -DCMAKE_CXX_COMPILER_LAUNCHER=ccache >/dev/null
# shellcheck disable=SC2086
[ -n "${DRY:-}" ] || cmake --build "$BUILD" -j2 ${TARGETS:+--target $TARGETS} >/dev/null || { echo "the unchanged tree does not build"; exit 2; }

E=Plugins/HueAndSaturation/Sources/HueAndSaturation.cpp
R=Plugins/HueAndSaturation/Sources/HueAndSaturationRender.cpp
G=Plugins/Shared/GL
U=$G/AEOpenGLUtilities.cpp
M=Plugins/Shared/Math
H=Plugins/Shared/Helper
C=Host/Core
W=Host/Frames
J=Host/Render
F=Host/Farm
V=Host/Media
I=Host/Images
P=Host/Preview

# file <TAB> perl substitution (on the whole file) <TAB> what the fault is
FAULTS=$(cat <<'LIST'
E	s/frameBuffer->clearStack\(\);/;/	a failed frame leaves its level pushed
E	s/(\n\s*)(AEOpenglMainFrameBuffer::mainFrameBuffer\(\)->destory\(\);)/$1saved.restore();$1$2/	set-down gives the host its context back before deleting
E	s/context->makeContextCurrent\(\);/;/	set-down deletes without its context current
E	s/return PF_Err_INTERNAL_STRUCT_DAMAGED;/return PF_Err_NONE;/	an unknown exception reported as success
E	s/catch \(int\) \{\n(\s*)return PF_Err_BAD_CALLBACK_PARAM;/catch (int) {\n$1return PF_Err_OUT_OF_MEMORY;/	a thrown int reported as 4
E	s/if \(!err\) err = checkin;/err = checkin;/	a later checkin code replaces the first error
E	s/pass->setSaturation\(/pass->setHue(/	the saturation never reaches the pass
E	s/(CheckinParam\(in_data, record, err\);\n)(\s*)CheckoutParam\(in_data, kSaturationId/$1$2if (!err) CheckoutParam(in_data, kSaturationId/	saturation left unread after a failed hue
E	s/mWarpRender = nullptr;/;/	set-down keeps the freed pass
E	s/gl::glDeleteTextures\(1, &texture\);/;/	the input texture kept each frame
E	s/if \(width > largest \|\| height > largest/if (width > largest + 1 || height > largest/	off by one in the size limit
E	s/kNumParams = 3/kNumParams = 2/	wrong parameter count
E	s/UnionRect\(&result\.result_rect,/UnionRect(&result.max_result_rect,/	pre-render merges the wrong rectangle
R	s/glDrawArrays\(GL_TRIANGLES, 0, 6\)/glDrawArrays(GL_TRIANGLES, 0, 3)/	half the quad drawn
R	s/kDegreesToRadians = 0\.017453292519943;/kDegreesToRadians = 0.17453292519943;/	the hue factor ten times too large
G/AEOpenGLContext.cpp	s/EGLPlatform::destroyContext\(mContext\);\n(\s*)throw;/throw;/	a failed context constructor keeps its context
G/SaveRestoreGLContextEGL.cpp	s/::~SaveRestoreGLContextEGL\(\) \{\n\s*restore\(\);/::~SaveRestoreGLContextEGL() {/	the bracket does not restore on the way out
G/AEOpenGLContextManager.cpp	s/mRenderContexts\.clear\(\);/;/	released contexts stay in the table
G/AEOpenGLContextManager.cpp	s/if \(found != mRenderContexts.end\(\) && found->second != nullptr\) return found->second;/;/	a new context on every call
G/AEOpenglMainFrameBuffer.cpp	s/std::min\(kRequestedSamples, static_cast<int>\(maxSamples\)\)/kRequestedSamples/	samples not clamped to the driver
G/AEOpenglMainFrameBuffer.cpp	s/mColorStack\.pop_back\(\);/;/	a pop leaves the level on the stack
G/AEOpenglMainFrameBuffer.cpp	s/mScreenRender->draw\(texture, multiplier16bit\);\n(\s*)glDeleteTextures\(1, &texture\);/mScreenRender->draw(texture, multiplier16bit);/	the resolve texture kept each frame
G/AEOpenglMainFrameBuffer.cpp	s/glDeleteTextures\(1, &texture\);\n(\s*)throw int\(PF_Err_OUT_OF_MEMORY\);/throw int(PF_Err_OUT_OF_MEMORY);/	a render texture kept when its buffer fails
G/AEOpenglMainFrameBuffer.cpp	s/linear \? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR_MIPMAP_NEAREST/linear ? GL_LINEAR_MIPMAP_NEAREST : GL_LINEAR_MIPMAP_NEAREST/	wrong mipmap filter
G/AEOpenglMainFrameBuffer.cpp	s/if \(mSamples < 1\) mMultisampled = false;/if (mSamples > 1) mMultisampled = false;/	multisampling switched off
G/OpenglShader.cpp	s/if \(mProgram == 0 \|\| location == -1\) return;\n(\s*)enableAndPoint\(location, 4/if (mProgram == 0) return;\n$1enableAndPoint(location, 4/	setAttribute4fv reaches GL at -1
G/OpenglShader.cpp	s/if \(mProgram == 0\) return;\n(\s*)glActiveTexture/glActiveTexture/	setUniformTexture binds before the build
G/OpenglShader.cpp	s/if \(mProgram == 0\) buildShader\(\);/buildShader();/	the program rebuilt on every use
G/OpenglShader.cpp	s/if \(length > kLogSize\) length = kLogSize;\n(\s*)buffer\[length < 0 \? 0 : length\] = '\\0';\n(\s*)std::printf\("Shader/buffer[0] = '\\0';\n$2std::printf("Shader/	the compile log dropped
G/FullFrameQuad.cpp	s/setUniform1f\("multiplier16bit", multiplier16bit\)/setUniform1f("multiplier16bit", 1.0f)/	the 16-bit multiplier dropped
U	s/static_cast<int64_t>\(world->width\) \* static_cast<int64_t>\(pixelSize\)/static_cast<int64_t>(world->width) * 4/	short rows judged as 8-bit
U	s/GL_UNPACK_ROW_LENGTH, input->rowbytes >> 2\)/GL_UNPACK_ROW_LENGTH, input->width)/	8-bit padding ignored
U	s/65535\.0f \/ 32768\.0f/65535.0f \/ 32767.0f/	wrong 16-bit multiplier
U	s/glDeleteTextures\(1, &texture\);\n(\s*)throw;/throw;/	a failed upload keeps its texture
U	s/std::min<unsigned int>\(height, static_cast<unsigned int>\(output->height\)\)/height/	rows copied past a shorter output
U	s/mSuite->host_dispose_handle\(mHandle\);/;/	the read-back handle not disposed
U	s/useMipmapFilter \? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR/GL_LINEAR/	mipmap filter ignored
H/IdleQueue.cpp	s/mTasks\.pop_front\(\);/;/	a task stays at the front
H/Semaphore.cpp	s/if \(mCount > 0\) \{/if (mCount > 1) {/	one unit too few
H/Semaphore.cpp	s/Ticket\* ticket = mBlocked\.back\(\);\n(\s*)mBlocked\.pop_back\(\);/Ticket* ticket = mBlocked.front();\n$1mBlocked.erase(mBlocked.begin());/	first arrival released first
H/SuiteScoper.h	s/mBasicSuite->ReleaseSuite\(mSuiteName, mSuiteVersion\);/;/	a scoped suite never released
H/ScriptHelper.cpp	s/return std::isspace\(static_cast<unsigned char>\(c\)\) != 0;/return c == ' ';/	only spaces trimmed
M/Float.h	s/kDegreesToRadians = 0\.017453292519943;/kDegreesToRadians = 0.017453292519943295;/	the full-precision factor
M/Quaternion.cpp	s/if \(c < 0\.0\) \{/if (c > 0.0) {/	slerp takes the long way
M/Rect.cpp	s/const double right = std::min\(getRight\(\), r\.getRight\(\)\);/const double right = std::max(getRight(), r.getRight());/	intersection too wide
M/Mat4.cpp	s/if \(determinant\(\) < 0\.0\) sx = -sx;/;/	a mirror lost in decompose
M/Affine.cpp	s/const double det = m\[0\] \* m\[4\] - m\[1\] \* m\[3\];/const double det = m[0] * m[4] + m[1] * m[3];/	wrong determinant
M/Box3.cpp	s/max\.getMax\(p\);/max.getMin(p);/	box does not grow
M/Barycentric.cpp	s/return Barycentric\(u, v, 1\.0 - u - v\);/return Barycentric(u, v, 1.0 - u);/	weights do not sum to one
M/Color.cpp	s/std::stoull\(body, nullptr, 16\)/std::stoull(body, nullptr, 10)/	colour text read as decimal
C/HostWorld.cpp	s/(bool HostWorld::guardsIntact\(\) const \{)/$1\n    return true;/	guards never checked
C/EffectHost.cpp	s/mParams\.resize\(1\);/;/	parameters kept across set-ups
C/HostSuites.cpp	s/if \(fault\.onCall != 0 && fault\.onCall != call\)/if (fault.onCall != call)/	a fault for every call never fires
E	s/if \(!err\) err = checkout;/err = checkout;/	both checkouts fail: the second code replaces the first
E	s/(\n\s*)(AEOpenglMainFrameBuffer::mainFrameBuffer\(\)->destory\(\);)(.*?)\n\s*AEOpenGLContextManager::releaseContextManager\(\);/$1AEOpenGLContextManager::releaseContextManager();$1$2$3/s	set-down releases its contexts before its deletes
H/Semaphore.cpp	s/while \(!mBlocked\.empty\(\)\) \{/if (!mBlocked.empty()) {/	signal-all wakes one waiter
G/SaveRestoreGLContextEGL.cpp	s/(EGLPlatform::setCurrent\(mSaved\);\n\s*\}\n\s*)eglBindAPI\(mSaved\.api\);/$1eglBindAPI(EGL_OPENGL_API);/	the host's client API left as OpenGL
Host/CLI/fxhost.cpp	s/plan\.removeLeftovers\(\);/;/	a run after a killed run leaves its partial files
W/FrameList.cpp	s/if \(end - i < 3\) end = i \+ 1;/;/	two frames written as a range
W/FrameList.cpp	s/frame <= last; frame \+= step\)/frame <= last; ++frame)/	a step ignored
W/FrameList.cpp	s/const auto twice = std::adjacent_find\(mFrames\.begin\(\), mFrames\.end\(\)\);/const auto twice = mFrames.end();/	a frame listed twice accepted
J/SequencePlan.cpp	s/if \(!gaps\.empty\(\)\) \{/if (false) {/	a gap on disk rendered around
J/SequencePlan.cpp	s/if \(existing == Existing::Overwrite\) \{/if (existing != Existing::Refuse) {/	--skip-existing renders existing frames again
J/SequencePlan.cpp	s/if \(!missing\.empty\(\)\) \{/if (false) {/	a listed frame without input not refused
C/Interruption.cpp	s/_exit\(128 \+ signal\);/_exit(1);/	an interrupted run exits 1
J/ProgressLog.cpp	s/std::fopen\(destination\.c_str\(\), "a"\)/std::fopen(destination.c_str(), "w")/	a resumed run truncates the progress file
J/ProgressLog.cpp	s/if \(mOpen\) writeBlock\(mDone\.empty\(\) \? -1 : mDone\.back\(\), "interrupted"\);/;/	no interrupted block
I/OiioInput.cpp	s/loss\.deeper = !bytes;/loss.deeper = false;/	deep input read without a word
I/OiioOutput.cpp	s/premultiply \? 0 : 1\)/0)/	alpha written premultiplied where the format holds it straight
F/BatchScript.cpp	s/-lt 1 \]/-lt 0 ]/	a failed chunk never requeued
V/DecodeConverter.cpp	s/from\.matrix_coefficients = ZimgFormat::matrix\(key\.space\);/from.matrix_coefficients = ZimgFormat::matrix(key.space == AVCOL_SPC_BT709 ? AVCOL_SPC_UNSPECIFIED : key.space);/	a BT.709 stream read with BT.601's matrix
V/ZimgFormat.cpp	s/case AVCOL_SPC_BT2020_CL: return ZIMG_MATRIX_BT2020_NCL;/case AVCOL_SPC_BT2020_CL: return ZIMG_MATRIX_ST170_M;/	a BT.2020 stream read with BT.601's matrix
V/DecodeConverter.cpp	s/bool full = storedValue\(frame\.color_range\) == AVCOL_RANGE_JPEG;/bool full = false;/	a full-range stream read as limited
V/FrameConverter.cpp	s/to\.matrix_coefficients = ZimgFormat::matrix\(matrix\);/to.matrix_coefficients = ZimgFormat::matrix(AVCOL_SPC_UNSPECIFIED);/	a movie tagged BT.709 written with BT.601's matrix
V/FrameConverter.cpp	s/to\.pixel_range = range == AVCOL_RANGE_JPEG \? ZIMG_RANGE_FULL : ZIMG_RANGE_LIMITED;/to.pixel_range = ZIMG_RANGE_LIMITED;/	a movie tagged full range written at limited range
V/StreamCopier.cpp	s/const int64_t shift = av_rescale_q\(mShift, mShiftBase, base\);/const int64_t shift = 0;/	a part's copied streams not shifted with its video
V/StreamCopier.cpp	s/if \(time != AV_NOPTS_VALUE && !mFromStart && av_compare_ts/if (false && av_compare_ts/	a part keeps the sound from before its first frame
V/MovieReader.cpp	s/avcodec_send_packet\(mCodec\.get\(\), nullptr\);\n\s*mDraining = true;\n\s*continue;/return false;/	the decoder not drained: the frames it holds back are lost
V/MovieWriter.cpp	s/(\n\s*)drain\(\);\n\}/$1;\n}/	the encoder not drained at the end
V/StreamCopier.cpp	s/if \(data\.type == AV_PKT_DATA_CPB_PROPERTIES\) continue;/continue;/	stream side data (rotation) dropped
V/EncoderSetup.cpp	s/return request\.alpha \? AV_PIX_FMT_YUVA444P10 : AV_PIX_FMT_YUV422P10;/return AV_PIX_FMT_YUV422P10;/	alpha into ProRes 422 without its plane
V/EncoderSetup.cpp	s/return request\.alpha \? AV_PIX_FMT_YUVA420P : AV_PIX_FMT_YUV420P;/return AV_PIX_FMT_YUV420P;/	alpha into VP9 without its plane
V/MovieReader.cpp	s/if \(format\.duration > end - start \+ 1\.5 \* frameLength\) \{/if (false) {/	a movie cut short not refused before the first frame
V/EncoderSetup.cpp	s/av_dict_set\(&params, "log-level", "error", AV_DICT_DONT_OVERWRITE\);/;/	-q leaves x265's banner on standard error
P/AccessGate.cpp	s/host == "127\.0\.0\.1" \+ port/host.rfind("127.0.0.1:", 0) == 0/	the Host check takes 127.0.0.1 at any port
P/AccessGate.cpp	s/pair\.erase\(0, pair\.find_first_not_of\(' '\)\);/;/	the cookie found only first in its header
P/AccessGate.cpp	s/at = end \+ 1;/break;/	only the first cookie of the header looked at
P/PreviewRenderer.cpp	s/if \(slot\) \{\n(\s*)slot->answered = true;\n\s*slot->result\.status = Result::Status::Replaced;\n\s*slot->answeredSignal\.notify_all\(\);/if (slot) {\n$1Result replaced;\n$1replaced.status = Result::Status::Replaced;\n$1return replaced;/	a newer frame request dropped and the waiting one rendered
P/PreviewRenderer.cpp	s/mSlots\[request\.view \+ \(request\.before/mSlots[std::string() + (request.before/	one view's newer request replaces another view's
P/RenderCommand.cpp	s/for \(const PreviewSummary::Parameter& parameter : mSummary\.parameters\) \{/for (const PreviewSummary::Parameter& parameter : mSummary.parameters) {\n        if (parameter.index == 1) continue;/	the copied command leaves out the first slider
P/AccessGate.cpp	s/if \(request\.method != "GET"\) \{/if (request.method != "GET" && request.method != "HEAD") {/	HEAD answered as a GET
P/page/app.js	s/label\.textContent = p\.name;\n\s*label\.removeAttribute\('title'\);//	a moved slider still says "(keyed)"
C/ParameterCurve.cpp	s/if \(frame >= mKeys\.back\(\)\.frame\) return/if (frame >= mKeys.back().frame - 1) return/	the last key's value reached a frame early
C/ParameterCurve.cpp	s/if \(frame <= mKeys\.front\(\)\.frame\) return/if (frame <= mKeys.front().frame + 1) return/	the first key's value held a frame past it
C/ParameterCurve.cpp	s/return a\.value \+ \(b\.value - a\.value\) \* t;/return a.value + (b.value - a.value) * t * t;/	keys eased, not linear, between them
C/Look.cpp	s/if \(version > kVersion\) \{/if (version > kVersion + 1) {/	a look one version newer read
C/Look.cpp	s/version < 1\) \{/version.get<int>() < 1) {/	a version past 32 bits wraps
F/FarmCommand.cpp	s/if \(!mLook\.empty\(\)\) renderOptions = \{"--look", lookCopy\};/if (!mLook.empty()) renderOptions = {"--look", mLook};/	queued chunks read the look as it is when they run
P/page/app.js	s/state\.lastChange = performance\.now\(\);\n(\s*)showCommand\(\);/state.lastChange = performance.now();\n$1setTimeout(showCommand, 180);/	the shown and copied command lags a change by the page's settling time
C/Interruption.cpp	s/FileGuard\(\) \{ gFiles\.lock_shared\(\); \}/FileGuard() {}/; s/~FileGuard\(\) \{ gFiles\.unlock_shared\(\); \}/~FileGuard() {}/	a temporary file created after an interruption removed the registered ones
C/EffectHost.cpp	s/if \(mOptions\.renderer == Renderer::CPU\)\n/if (false)\n/	--renderer cpu quietly renders with GL for an effect without a CPU renderer
C/Renderer.cpp	s/if \(node\.empty\(\)\) return \{Renderer::CPU,/if (node.empty()) return {Renderer::GL,/	auto takes GL on a machine without a GPU
F/FarmCommand.cpp	s/renderOptions\.insert\(renderOptions\.end\(\), \{"--renderer", rendererName\(served\)\}\);/;/	the farm leaves auto for each chunk to settle
C/Renderer.cpp	s/std::getenv\("FXHOST_RENDERER"\)/nullptr/	the modules inside other programs ignore FXHOST_RENDERER
Host/Validate/RendererChecks.cpp	s/return alpha == 0 \? 0 : \(255 \+ alpha - 1\) \/ alpha;/return 255;/	the validator lets the renderers differ by any amount
E	s/mCPURendering = chosen == kOstrivaneRenderer_CPU;/mCPURendering = false;/	the effect ignores the host's choice of its CPU renderer
E	s/constexpr int kMinorVersion = 0;/constexpr int kMinorVersion = 2;/	the effect declares the project's version instead of its own
W/MovieSource.cpp	s/std::max_element\(frames\.begin/std::min_element(frames.begin/	a cut-short movie checked against the lowest frame asked for, not the highest
G/SaveRestoreGLContextEGL.cpp	s/(if \(mSaved\.context == EGL_NO_CONTEXT\) \{\n\s*\/\/[^\n]*\n)\s*eglBindAPI\(mSaved\.api\);\n/$1/	a host without a context current loses its bound client API
C/EffectHost.cpp	s/return static_cast<double>\(time\) \* mInData\.time_scale \/ scale \/ step;/return time \/ step;/	a time in the effect's own time scale read as the host's
Plugins/HueAndSaturation/Sources/HueAndSaturationCPURender.cpp	s/\{1\.0f, 0\.9563f, 0\.6210f\}/{1.0f, 0.9564f, 0.6210f}/	a weight of the CPU renderer's matrix off in its fourth decimal
Plugins/HueAndSaturation/Sources/HueAndSaturationCPURender.cpp	s/Floats level = value \+ kRound;/Floats level = __builtin_convertvector(__builtin_convertvector(value, Ints), Floats) + kRound;/	the CPU renderer rounds by truncation
Plugins/HueAndSaturation/Sources/HueAndSaturationCPURender.cpp	s/atMost255\(\(stored \* kByteToFloat\) \/ divisor \* 255\.0f \+ kRound\)/atMost255(stored + kRound)/	the CPU renderer leaves its colour premultiplied
Plugins/HueAndSaturation/Sources/HueAndSaturationCPURender.cpp	s/std::fmod\(static_cast<double>\(hueDegrees\), 360\.0\)/static_cast<double>(hueDegrees)/	the CPU renderer's hue not taken modulo 360 before it is narrowed
Plugins/HueAndSaturation/Sources/HueAndSaturationCPURender.cpp	s/\(stored \* kByteToFloat\) \/ divisor/(stored * kByteToFloat) * (1.0f \/ divisor)/	the CPU renderer's final division as a reciprocal
V/DecodeConverter.cpp	s/from\.chroma_location = ZimgFormat::siting\(key\.siting\);/from.chroma_location = ZIMG_CHROMA_LEFT;/	a stream's chroma siting ignored on the way in
V/FrameConverter.cpp	s/to\.chroma_location = ZimgFormat::siting\(siting\);/to.chroma_location = ZIMG_CHROMA_LEFT;/	a movie's chroma siting ignored on the way out
C/HostWorld.cpp	s/for \(size_t i = used; i < static_cast<size_t>\(rowbytes\(\)\); \+\+i\)/for (size_t i = used + 1; i < static_cast<size_t>(rowbytes()); ++i)/	the world guard blind to one byte past a row
C/EffectHost.cpp	s/if \(world\) world->armGuards\(\);/;/	the guards not laid again before the effect's call: the host's writes blamed on the effect
LIST
)

n=0; caught=0; missed=()
while IFS=$'\t' read -r file subst what; do
    [ -z "$file" ] && continue
    n=$((n + 1))
    [ "$n" -lt "$FIRST" ] && continue
    [ -n "${ONLY:-}" ] && [[ ",$ONLY," != *",$n,"* ]] && continue
    case "$file" in
        E) path=$E ;;
        R) path=$R ;;
        U) path=$U ;;
        G/*) path=$G/${file#G/} ;;
        M/*) path=$M/${file#M/} ;;
        H/*) path=$H/${file#H/} ;;
        C/*) path=$C/${file#C/} ;;
        W/*) path=$W/${file#W/} ;;
        J/*) path=$J/${file#J/} ;;
        F/*) path=$F/${file#F/} ;;
        V/*) path=$V/${file#V/} ;;
        I/*) path=$I/${file#I/} ;;
        P/*) path=$P/${file#P/} ;;
        *) path=$file ;;
    esac
    before=$(md5sum "$path")
    perl -0pi -e "$subst" "$path"
    if [ "$(md5sum "$path")" = "$before" ]; then
        echo "$n NOT APPLIED  $path: $what"; missed+=("$n (not applied)"); continue
    fi
    if [ -n "${DRY:-}" ]; then
        git checkout -q -- "$path"; echo "$n applies  $path: $what"; continue
    fi
    # shellcheck disable=SC2086
    if ! cmake --build "$BUILD" -j2 ${TARGETS:+--target $TARGETS} >/dev/null 2>&1; then
        result="caught (does not build)"
    else
        # A suite that runs out of time has caught nothing: that is a miss, said as such.
        (cd "$BUILD" && timeout "${LIMIT:-1500}" ctest --stop-on-failure ${TESTS:+-R "$TESTS"} >/dev/null 2>&1)
        case $? in
            0) result="MISSED" ;;
            124) result="MISSED (the suite ran out of time)" ;;
            *) result="caught" ;;
        esac
    fi
    git checkout -q -- "$path"
    [[ "$result" == MISSED* ]] && missed+=("$n") || caught=$((caught + 1))
    echo "$n $result  $path: $what"
done <<< "$FAULTS"
# shellcheck disable=SC2086
cmake --build "$BUILD" -j2 ${TARGETS:+--target $TARGETS} >/dev/null 2>&1
echo "planted $n, caught $caught; missed: ${missed[*]:-none}"
