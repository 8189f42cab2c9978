// A look: the effect's name and each parameter's value or keys, saved as a small JSON file so that
// the values tuned once (in the preview, say) render the same in `render`, `sheet` and the farm:
//   {"format": "fxhost look", "version": 1, "effect": "Ostrivane Hue And Saturation",
//    "parameters": {"Hue Value": 90, "Saturation": [{"frame": 1, "value": 0.5}, {"frame": 48, "value": 1.5}]}}
// read() and parse() check the shape and throw std::invalid_argument naming the file and the fault;
// the effect's name and the parameters' names and ranges are checked by ParameterSettings.
#pragma once

#include <string>
#include <vector>

#include "ParameterCurve.h"

namespace fxhost {

class Look {
public:
    struct Parameter {
        std::string name;
        ParameterCurve curve;  // values as the file has them, not yet range-checked
    };

    static constexpr int kVersion = 1;

    static Look read(const std::string& path);
    // `origin` names the text in messages, such as the file's path.
    static Look parse(const std::string& json, const std::string& origin);

    // The JSON text, parameters in order, values exactly as held.
    std::string json() const;
    // Written under a temporary name and renamed; throws std::runtime_error naming the file and the reason.
    void write(const std::string& path) const;

    std::string origin;  // where it was read from, for messages
    std::string effect;
    std::vector<Parameter> parameters;
};

}  // namespace fxhost
