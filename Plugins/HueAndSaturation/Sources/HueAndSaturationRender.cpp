#include "HueAndSaturationRender.h"

#include <cmath>

#include <glbinding/gl/gl.h>

using namespace gl;

namespace Ostrivane {
namespace GaussianBlur {

namespace {

const char* const kVertexSource =
    "#version 330\nin vec2 position; in vec2 input_uv; out vec2 uv; void main() {uv = input_uv; gl_Position = vec4(position, 0.0, 1.0); }";

const char* const kFragmentSource =
    "#version 330\nin vec2 uv;uniform sampler2D videoTexture;uniform float multiplier16bit;uniform float saturation;uniform float hueAdjust;out vec4 colourOut;const vec4  kRGBToYPrime = vec4 (0.299, 0.587, 0.114, 0.0);const vec4  kRGBToI     = vec4 (0.595716, -0.274453, -0.321263, 0.0);const vec4  kRGBToQ     = vec4 (0.211456, -0.522591, 0.31135, 0.0);const vec4  kYIQToR   = vec4 (1.0, 0.9563, 0.6210, 0.0);const vec4  kYIQToG   = vec4 (1.0, -0.2721, -0.6474, 0.0);const vec4  kYIQToB   = vec4 (1.0, -1.1070, 1.7046, 0.0);const vec3 luminanceWeighting = vec3(0.2125, 0.7154, 0.0721);void main() {     colourOut = texture(videoTexture, uv);     colourOut = vec4(colourOut.g, colourOut.b, colourOut.a, colourOut.r);      float   YPrime  = dot (colourOut, kRGBToYPrime);     float   I      = dot (colourOut, kRGBToI);     float   Q      = dot (colourOut, kRGBToQ);     float   hue     = atan (Q, I);     float   chroma  = sqrt (I * I + Q * Q);     hue += (-hueAdjust);     Q = chroma * sin (hue);     I = chroma * cos (hue);     vec4    yIQ   = vec4 (YPrime, I, Q, 0.0);     colourOut.r = dot (yIQ, kYIQToR);     colourOut.g = dot (yIQ, kYIQToG);     colourOut.b = dot (yIQ, kYIQToB);     float luminance = dot(colourOut.rgb, luminanceWeighting);     vec3 greyScaleColor = vec3(luminance);     colourOut = vec4(mix(greyScaleColor, colourOut.rgb, saturation), colourOut.a);     colourOut = colourOut * multiplier16bit;      colourOut = vec4(colourOut.a * colourOut.r, colourOut.a * colourOut.g, colourOut.a * colourOut.b, colourOut.a); }";

// Fifteen decimals, as the effect has always turned degrees into radians; not pi/180 in full.
const double kDegreesToRadians = 0.017453292519943;

}  // namespace

HueAndSaturationRender::HueAndSaturationRender() : mShader(new OpenglShader(kVertexSource, kFragmentSource)) {
    mShader->addAttributeBinding("position", 0);
    mShader->addAttributeBinding("input_uv", 1);
}

HueAndSaturationRender::~HueAndSaturationRender() {
    delete mShader;
}

void HueAndSaturationRender::draw(unsigned int texture, float multiplier16bit) {
    static const float positions[] = {
        1.0f,  -1.0f, 1.0f, 0.0f,  //
        1.0f,  1.0f,  1.0f, 1.0f,  //
        -1.0f, 1.0f,  0.0f, 1.0f,  //
        -1.0f, 1.0f,  0.0f, 1.0f,  //
        -1.0f, -1.0f, 0.0f, 0.0f,  //
        1.0f,  -1.0f, 1.0f, 0.0f,
    };
    static_assert(sizeof(positions) == 96, "six vertices of four floats");

    mQuad.bind(positions, sizeof(positions));
    mShader->useProgram();
    mShader->setAttribute2fv(0, nullptr, 16);
    mShader->setAttribute2fv(1, reinterpret_cast<const float*>(8), 16);
    mShader->setUniformTexture("videoTexture", static_cast<int>(GL_TEXTURE_2D), static_cast<int>(texture), 0);
    mShader->setUniform1f("multiplier16bit", multiplier16bit);
    const double hueAdjust = std::fmod(static_cast<double>(mHue), 360.0) * kDegreesToRadians;
    mShader->setUniform1f("hueAdjust", static_cast<float>(hueAdjust));
    mShader->setUniform1f("saturation", mSaturation);
    glDrawArrays(GL_TRIANGLES, 0, 6);
    mShader->disableVertexAttributeArray(0);
    mShader->disableVertexAttributeArray(1);
    FullFrameQuad::unbind();
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
