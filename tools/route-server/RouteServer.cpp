#include "tools/route-server/RouteServer.h"

#include <json/json.h>

#include <map>

namespace grs::routeserver {

struct Routes::Impl {
    std::map<std::string, Json::Value> countries;
    Json::Value fallback;  // null when the file has no default
};

namespace {

const struct {
    Mode mode;
    const char* name;
} kModes[] = {{Mode::Ok, "ok"},        {Mode::Dead, "dead"},   {Mode::Slow, "slow"},
              {Mode::Failing, "fail"}, {Mode::Empty, "empty"}, {Mode::Garbage, "garbage"}};

std::string WriteCompact(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

std::string QueryValue(const std::string& query, const std::string& name) {
    size_t start = 0;
    while (start <= query.size()) {
        const size_t end = query.find('&', start);
        const std::string pair = query.substr(start, end == std::string::npos ? std::string::npos : end - start);
        const size_t equals = pair.find('=');
        if (pair.substr(0, equals) == name)
            return equals == std::string::npos ? std::string() : pair.substr(equals + 1);
        if (end == std::string::npos) break;
        start = end + 1;
    }
    return std::string();
}

bool IsRouterPath(const std::string& path) {
    const std::string prefix = "/zrv/1.0/";
    const std::string suffix = "/router";
    return path.size() > prefix.size() + suffix.size() && path.compare(0, prefix.size(), prefix) == 0 &&
           path.compare(path.size() - suffix.size(), suffix.size(), suffix) == 0;
}

}  // namespace

bool ParseMode(const std::string& text, Mode& mode) {
    for (const auto& m : kModes) {
        if (text == m.name) {
            mode = m.mode;
            return true;
        }
    }
    return false;
}

const char* ModeName(Mode mode) {
    for (const auto& m : kModes)
        if (m.mode == mode) return m.name;
    return "?";
}

bool Routes::Load(const std::string& jsonText, std::string& error) {
    auto impl = std::make_shared<Impl>();
    Json::CharReaderBuilder builder;
    Json::Value root;
    std::string errors;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    if (!reader->parse(jsonText.data(), jsonText.data() + jsonText.size(), &root, &errors) || !root.isObject()) {
        error = "the routes file is not a JSON object: " + errors;
        return false;
    }
    const Json::Value& countries = root["countries"];
    if (countries.isObject()) {
        for (const std::string& country : countries.getMemberNames()) impl->countries[country] = countries[country];
    }
    if (root.isMember("default")) impl->fallback = root["default"];
    m_impl = impl;
    return true;
}

std::string Routes::AnswerFor(const std::string& country) const {
    Json::Value answer(Json::objectValue);
    answer["countryCode"] = country;
    const Json::Value* groups = nullptr;
    if (m_impl) {
        auto it = m_impl->countries.find(country);
        if (it != m_impl->countries.end()) {
            groups = &it->second;
        } else if (!m_impl->fallback.isNull()) {
            groups = &m_impl->fallback;
        }
    }
    answer["isSuccess"] = groups ? 1 : 0;
    answer["services"] = groups ? *groups : Json::Value(Json::objectValue);
    return WriteCompact(answer);
}

support::HttpAnswer Answer(const Routes& routes, const Options& options, const support::HttpRequest& request) {
    support::HttpAnswer answer;
    if (options.mode == Mode::Dead) {
        answer.dropConnection = true;
        return answer;
    }
    if (request.method != "GET" || !IsRouterPath(request.path)) {
        answer.status = 404;
        answer.body = "{\"error\":\"unknown path\"}";
        return answer;
    }
    answer.headers.push_back({"Content-Type", "application/json"});
    answer.headers.push_back({"Cache-Control", "max-age=" + std::to_string(options.maxAgeSeconds)});
    const std::string country = QueryValue(request.query, "reg_country");
    switch (options.mode) {
        case Mode::Ok:
            answer.body = routes.AnswerFor(country);
            break;
        case Mode::Slow:
            answer.delayMs = options.slowDelayMs;
            answer.body = routes.AnswerFor(country);
            break;
        case Mode::Failing:
            answer.body = "{\"countryCode\":\"" + country + "\",\"isSuccess\":0,\"services\":{}}";
            break;
        case Mode::Empty:
            break;
        case Mode::Garbage:
            answer.body = "<html>routing service unavailable</html>";
            break;
        case Mode::Dead:
            break;
    }
    return answer;
}

std::string DescribeExchange(const support::HttpRequest& request, const support::HttpAnswer& answer, Mode mode) {
    std::string line = request.method + " " + request.target + " -> ";
    if (answer.dropConnection) return line + "connection closed (" + ModeName(mode) + ")";
    line += std::to_string(answer.status) + ", " + std::to_string(answer.body.size()) + " bytes";
    if (answer.delayMs > 0) line += ", after " + std::to_string(answer.delayMs) + " ms";
    return line + " (" + ModeName(mode) + ")";
}

}  // namespace grs::routeserver
