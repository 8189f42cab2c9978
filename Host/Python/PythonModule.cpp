// The Python module `fxhost`: NumPy frames through any effect bundle, in process. Everything the
// interpreter hands in is checked here and refused with TypeError or ValueError naming what was
// expected; nothing below this file sees a Python object, and no C++ exception leaves it other
// than as a Python exception.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cctype>
#include <cmath>
#include <climits>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "FrameView.h"
#include "InProcessEffect.h"
#include "Look.h"
#include "ParameterCurve.h"
#include "ParameterSettings.h"
#include "Renderer.h"

namespace py = pybind11;
using namespace fxhost;

namespace {

// Past this a side's rows no longer fit the world's int pitch; no GL implementation renders it anyway.
constexpr py::ssize_t kMaxSide = 32768;

std::string pathText(const py::object& path) {
    return py::str(py::module_::import("os").attr("fspath")(path)).cast<std::string>();
}

std::string typeName(const py::handle& object) {
    return py::str(py::type::handle_of(object).attr("__name__")).cast<std::string>();
}

// "Hue Value" is hue_value as a keyword.
std::string snakeCase(const std::string& name) {
    std::string snake;
    for (const unsigned char c : name) {
        if (std::isalnum(c)) {
            snake += static_cast<char>(std::tolower(c));
        } else if (!snake.empty() && snake.back() != '_') {
            snake += '_';
        }
    }
    while (!snake.empty() && snake.back() == '_') snake.pop_back();
    return snake;
}

// A value as --set writes it: a number, the command line's own text ("90", "0@1,90@48"), or
// (frame, value) pairs.
std::string valueText(const std::string& name, const py::handle& value) {
    if (py::isinstance<py::str>(value)) return value.cast<std::string>();
    if (!py::isinstance<py::bool_>(value) && PyNumber_Check(value.ptr()) &&
        !py::isinstance<py::sequence>(value)) {
        return ParameterCurve::exactNumber(
            py::float_(py::reinterpret_borrow<py::object>(value)).cast<double>());
    }
    if (py::isinstance<py::sequence>(value)) {
        std::string keys;
        for (const py::handle key : value) {
            py::tuple pair;
            try {
                pair = py::tuple(py::reinterpret_borrow<py::object>(key));
            } catch (const py::error_already_set&) {
            }
            if (pair.size() != 2 || py::isinstance<py::str>(key)) {
                throw py::type_error("parameter \"" + name + "\": a key is (frame, value), got " +
                                     typeName(key));
            }
            keys += (keys.empty() ? "" : ",") + valueText(name, pair[1]) + "@" +
                    std::to_string(py::int_(pair[0]).cast<long long>());
        }
        return keys;
    }
    throw py::type_error("parameter \"" + name +
                         "\": a value is a number, the command line's text or (frame, value) "
                         "keys, got " +
                         typeName(value));
}

FrameView::Type frameType(const py::array& array, const char* what) {
    if (array.dtype().is(py::dtype::of<uint8_t>())) return FrameView::Type::U8;
    if (array.dtype().is(py::dtype::of<uint16_t>())) return FrameView::Type::U16;
    if (array.dtype().is(py::dtype::of<float>())) return FrameView::Type::F32;
    throw py::type_error(std::string(what) + " must be uint8, uint16 or float32 (native byte order), got " +
                         py::str(array.dtype()).cast<std::string>());
}

std::string shapeText(const py::array& array) {
    std::string text = "(";
    for (py::ssize_t i = 0; i < array.ndim(); ++i) text += (i ? ", " : "") + std::to_string(array.shape(i));
    return text + (array.ndim() == 1 ? ",)" : ")");
}

FrameView viewOf(const py::array& array, void* data) {
    return FrameView(data, frameType(array, "frame"), static_cast<int>(array.shape(0)),
                     static_cast<int>(array.shape(1)), array.strides(0), array.strides(1), array.strides(2));
}

struct Parameter {
    int index;
    std::string name;
    std::string kind;
    std::pair<double, double> range;
    std::pair<double, double> sliderRange;
    double defaultValue;
    std::optional<std::string> unit;  // None where the effect names none
    int precision;
};

Parameter describe(int index, const PF_ParamDef& def) {
    Parameter p{index,        def.name, "type " + std::to_string(def.param_type), {0, 0}, {0, 0}, 0,
                std::nullopt, 0};
    if (def.param_type == PF_Param_FLOAT_SLIDER) {
        const PF_FloatSliderDef& f = def.u.fs_d;
        p.kind = "float slider";
        p.range = {f.valid_min, f.valid_max};
        p.sliderRange = {f.slider_min, f.slider_max};
        p.defaultValue = f.dephault;
        const size_t length = strnlen(f.value_desc, sizeof f.value_desc);
        if (length) p.unit = std::string(f.value_desc, length);
        p.precision = f.precision;
    }
    return p;
}

class Effect {
public:
    Effect(const py::object& bundle, const std::string& renderer) {
        const Renderer requested = parseRenderer(renderer);
        const std::string path = bundle.is_none() ? InProcessEffect::defaultBundle() : pathText(bundle);
        {
            py::gil_scoped_release release;  // another thread's render may hold the process lock
            mEffect = InProcessEffect::open(path, requested);
        }
        const std::vector<PF_ParamDef>& params = mEffect->params();
        for (size_t i = 1; i < params.size(); ++i) {
            mParameters.push_back(describe(static_cast<int>(i), params[i]));
            mKeywords.emplace(snakeCase(params[i].name), params[i].name);
        }
    }

    const std::string& name() const { return mEffect->name(); }
    const std::string& bundle() const { return mEffect->path(); }
    const std::vector<Parameter>& parameters() const { return mParameters; }
    std::string renderer() const { return rendererName(mEffect->renderer()); }
    const std::string& rendererReason() const { return mEffect->rendererReason(); }

    py::array render(const py::object& frameObject, const py::object& values, double time,
                     const py::object& look, const py::object& outObject, const py::kwargs& keywords) {
        if (!py::isinstance<py::array>(frameObject)) {
            throw py::type_error("frame must be a NumPy array of H x W x 4 (RGBA), got " +
                                 typeName(frameObject));
        }
        const py::array frame = py::reinterpret_borrow<py::array>(frameObject);
        const FrameView::Type type = frameType(frame, "frame");
        if (frame.ndim() != 3 || frame.shape(2) != 4 || frame.shape(0) < 1 || frame.shape(1) < 1) {
            throw py::value_error("frame must be H x W x 4 (RGBA), got shape " + shapeText(frame));
        }
        if (frame.shape(0) > kMaxSide || frame.shape(1) > kMaxSide) {
            throw py::value_error("frame of shape " + shapeText(frame) + " is too large: at most " +
                                  std::to_string(kMaxSide) + " pixels a side");
        }
        const int frameNumber = wholeFrame(time);
        const ParameterSettings::Curves curves = settings(values, look, keywords);

        py::array out;
        if (outObject.is_none()) {
            out = py::array(frame.dtype(), {frame.shape(0), frame.shape(1), frame.shape(2)});
        } else {
            if (!py::isinstance<py::array>(outObject)) {
                throw py::type_error("out must be a NumPy array like frame, got " + typeName(outObject));
            }
            out = py::reinterpret_borrow<py::array>(outObject);
            if (frameType(out, "out") != type) {
                throw py::type_error("out must have frame's dtype " +
                                     py::str(frame.dtype()).cast<std::string>() + ", got " +
                                     py::str(out.dtype()).cast<std::string>());
            }
            if (shapeText(out) != shapeText(frame)) {
                throw py::value_error("out must have frame's shape " + shapeText(frame) + ", got " +
                                      shapeText(out));
            }
            if (!out.writeable()) throw py::value_error("out is read-only");
        }
        const FrameView in = viewOf(frame, const_cast<void*>(frame.data()));
        const FrameView target = viewOf(out, out.mutable_data());
        {
            py::gil_scoped_release release;
            mEffect->render(in, target, curves, frameNumber);
        }
        return out;
    }

private:
    static int wholeFrame(double time) {
        if (!std::isfinite(time) || time != std::floor(time) || time < INT_MIN || time > INT_MAX) {
            throw py::value_error("time must be a whole frame number (the frames keys are set at), got " +
                                  py::str(py::float_(time)).cast<std::string>());
        }
        return static_cast<int>(time);
    }

    ParameterSettings::Curves settings(const py::object& values, const py::object& look,
                                       const py::kwargs& keywords) {
        ParameterSettings settings;
        if (py::isinstance<Look>(look)) {
            settings.setLook(look.cast<Look>());
        } else if (!look.is_none()) {
            settings.setLook(Look::read(pathText(look)));
        }
        if (!values.is_none()) {
            if (!py::isinstance<py::dict>(values)) {
                throw py::type_error("values must be a dict of parameter names and values, got " +
                                     typeName(values));
            }
            for (const auto& item : py::reinterpret_borrow<py::dict>(values)) {
                if (!py::isinstance<py::str>(item.first)) {
                    throw py::type_error("values' keys are parameter names, got " + typeName(item.first));
                }
                const std::string name = item.first.cast<std::string>();
                settings.add(name + "=" + valueText(name, item.second));
            }
        }
        for (const auto& item : keywords) {
            const std::string keyword = item.first.cast<std::string>();
            const auto known = mKeywords.find(keyword);
            const std::string name = known == mKeywords.end() ? keyword : known->second;
            settings.add(name + "=" + valueText(name, item.second));
        }
        py::gil_scoped_release release;
        return mEffect->resolve(settings);
    }

    std::shared_ptr<InProcessEffect> mEffect;
    std::vector<Parameter> mParameters;
    std::map<std::string, std::string> mKeywords;  // snake case -> the effect's name
};

py::object lookValues(const Look& look) {
    py::dict parameters;
    for (const Look::Parameter& parameter : look.parameters) {
        const ParameterCurve& curve = parameter.curve;
        if (!curve.keyed()) {
            parameters[py::str(parameter.name)] = curve.at(0);
            continue;
        }
        py::list keys;
        for (const ParameterCurve::Key& key : curve.keys()) keys.append(py::make_tuple(key.frame, key.value));
        parameters[py::str(parameter.name)] = keys;
    }
    return std::move(parameters);
}

}  // namespace

PYBIND11_MODULE(fxhost, m) {
    m.doc() =
        "Effect bundles in process: NumPy RGBA frames (uint8, uint16, float32) rendered as fxhost render "
        "renders image files of the same depth.";
    m.attr("__version__") = FXHOST_PYTHON_VERSION;

    // Translators run newest first: the narrower class is tried before the one it derives from.
    auto& effectError = py::register_exception<EffectError>(m, "EffectError", PyExc_RuntimeError);
    py::register_exception<BundleError>(m, "BundleError", effectError.ptr());

    py::class_<Parameter>(m, "Parameter", "A parameter as `fxhost info` lists it.")
        .def_readonly("index", &Parameter::index)
        .def_readonly("name", &Parameter::name)
        .def_readonly("kind", &Parameter::kind)
        .def_readonly("range", &Parameter::range)
        .def_readonly("slider_range", &Parameter::sliderRange)
        .def_readonly("default", &Parameter::defaultValue)
        .def_readonly("unit", &Parameter::unit)
        .def_readonly("precision", &Parameter::precision)
        .def("__repr__", [](const Parameter& p) {
            return "<fxhost.Parameter " + std::to_string(p.index) + " '" + p.name + "' " + p.kind + ">";
        });

    py::class_<Look>(m, "Look", "A look file: the effect's name and each parameter's value or keys.")
        .def_static(
            "load", [](const py::object& path) { return Look::read(pathText(path)); }, py::arg("path"))
        .def_readonly("effect", &Look::effect)
        .def_readonly("path", &Look::origin)
        .def_property_readonly("parameters", &lookValues)
        .def("__repr__", [](const Look& look) {
            return "<fxhost.Look '" + look.origin + "' for '" + look.effect + "'>";
        });

    py::class_<Effect>(m, "Effect", "An effect bundle, loaded and set up in this process.")
        .def(py::init<const py::object&, const std::string&>(), py::arg("bundle") = py::none(),
             py::arg("renderer") = "auto")
        .def_property_readonly("name", &Effect::name)
        .def_property_readonly("bundle", &Effect::bundle)
        .def_property_readonly("parameters", &Effect::parameters)
        .def_property_readonly("renderer", &Effect::renderer,
                               "'gl' or 'cpu': the renderer that serves the effect")
        .def_property_readonly("renderer_reason", &Effect::rendererReason)
        .def("render", &Effect::render, py::arg("frame"), py::arg("values") = py::none(), py::kw_only(),
             py::arg("time") = 0.0, py::arg("look") = py::none(), py::arg("out") = py::none(),
             "Renders an H x W x 4 RGBA frame; returns a new array of its shape and dtype, or fills `out`.")
        .def("__repr__",
             [](const Effect& e) { return "<fxhost.Effect '" + e.name() + "' from '" + e.bundle() + "'>"; });
}
