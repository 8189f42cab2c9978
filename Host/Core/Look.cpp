#include "Look.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "Interruption.h"
#include "PartialFile.h"

namespace fxhost {

namespace {

using Json = nlohmann::ordered_json;

ParameterCurve curveOf(const Json& value) {
    if (value.is_number()) return ParameterCurve(value.get<double>());
    if (!value.is_array() || value.empty()) {
        throw std::invalid_argument("neither a number nor a list of keys ({\"frame\": F, \"value\": V})");
    }
    std::vector<ParameterCurve::Key> keys;
    for (const Json& key : value) {
        if (!key.is_object() || key.size() != 2 || !key.contains("frame") || !key.contains("value")) {
            throw std::invalid_argument("key " + key.dump() + " is not {\"frame\": F, \"value\": V}");
        }
        const Json& frame = key["frame"];
        if (!frame.is_number_integer() || frame.get<long long>() < 0 || frame.get<long long>() > 999999999) {
            throw std::invalid_argument("key " + key.dump() +
                                        ": the frame is not a frame number (0 or more)");
        }
        if (!key["value"].is_number()) {
            throw std::invalid_argument("key " + key.dump() + ": the value is not a number");
        }
        keys.push_back({frame.get<int>(), key["value"].get<double>()});
    }
    return ParameterCurve(std::move(keys));
}

// "1" while there is one version: "an integer from 1 to 1" reads as a typo.
std::string versionRange() {
    return Look::kVersion == 1 ? "1, the one version there is" : "an integer from 1 to " + std::to_string(Look::kVersion);
}

}  // namespace

Look Look::parse(const std::string& text, const std::string& origin) {
    const std::string where = "look " + origin + ": ";
    Json json;
    try {
        json = Json::parse(text);
    } catch (const Json::exception& e) {
        // A syntax error, and also a number past a double's range (out_of_range, not parse_error).
        throw std::invalid_argument(where + "not JSON (" + e.what() + ")");
    }
    if (!json.is_object() || json.value("format", Json()) != "fxhost look") {
        throw std::invalid_argument(where + "not a look (it has no \"format\": \"fxhost look\")");
    }
    // Compared as JSON numbers, never narrowed first: 4294967297 read as an int would be 1.
    const Json version = json.value("version", Json());
    if (!version.is_number_integer() || version < 1) {
        throw std::invalid_argument(where + "\"version\" " + (version.is_null() ? "is missing" : "is " + version.dump()) +
                                    ": it is " + versionRange());
    }
    if (version > kVersion) {
        throw std::invalid_argument(where + "\"version\" " + version.dump() +
                                    " is newer than this fxhost reads (" + std::to_string(kVersion) + ")");
    }
    if (!json.contains("effect") || !json["effect"].is_string()) {
        throw std::invalid_argument(where + "\"effect\" is missing or not a name");
    }
    if (!json.contains("parameters") || !json["parameters"].is_object()) {
        throw std::invalid_argument(where +
                                    "\"parameters\" is missing or not an object of NAME: value or keys");
    }
    for (auto& [name, value] : json.items()) {
        if (name != "format" && name != "version" && name != "effect" && name != "parameters") {
            throw std::invalid_argument(where + "unknown field \"" + name + "\"");
        }
    }
    Look look;
    look.origin = origin;
    look.effect = json["effect"].get<std::string>();
    for (auto& [name, value] : json["parameters"].items()) {
        try {
            look.parameters.push_back({name, curveOf(value)});
        } catch (const std::invalid_argument& e) {
            throw std::invalid_argument(where + "parameter \"" + name + "\": " + e.what());
        }
    }
    return look;
}

Look Look::read(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw std::invalid_argument("cannot read look " + path + ": " + std::strerror(errno));
    std::stringstream text;
    text << file.rdbuf();
    return parse(text.str(), path);
}

std::string Look::json() const {
    Json json;
    json["format"] = "fxhost look";
    json["version"] = kVersion;
    json["effect"] = effect;
    json["parameters"] = Json::object();
    for (const Parameter& parameter : parameters) {
        Json value;
        if (!parameter.curve.keyed()) {
            value = parameter.curve.at(0);
        } else {
            value = Json::array();
            for (const ParameterCurve::Key& key : parameter.curve.keys()) {
                value.push_back(Json{{"frame", key.frame}, {"value", key.value}});
            }
        }
        json["parameters"][parameter.name] = value;
    }
    return json.dump(2) + "\n";
}

void Look::write(const std::string& path) const {
    const PartialFile partial(path);
    const std::string text = json();
    {
        std::ofstream file;
        {
            const Interruption::FileGuard creating;
            file.open(partial.path(), std::ios::trunc);
        }
        if (!(file << text) || !file.flush()) {
            throw std::runtime_error("cannot write look " + path + ": " + std::strerror(errno));
        }
    }
    if (const int error = PartialFile::renameOnto(partial.path(), path)) {
        throw std::runtime_error("cannot write look " + path + ": " + std::strerror(error));
    }
}

}  // namespace fxhost
