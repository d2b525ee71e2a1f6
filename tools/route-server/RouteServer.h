#pragma once

// The routing server's behaviour, shared by the route-server executable and
// the tests: a routes file per country, answered at
// GET /zrv/1.0/<application>/router?reg_country=XX.
//
// Routes file (UTF-8 JSON):
//   { "countries": { "CN": { "<group>": { "<service key>": "<address>", ... }, ... }, ... },
//     "default":   { "<group>": { ... } } }
// A country that is not listed gets "default"; with no default either, the
// answer is {"isSuccess":0}.

#include <memory>
#include <string>
#include <vector>

#include "support/LoopbackHttpServer.h"

namespace grs::routeserver {

enum class Mode {
    Ok,       // answers the routes with isSuccess 1
    Dead,     // accepts and closes the connection without answering
    Slow,     // answers after a delay
    Failing,  // answers {"isSuccess":0,...}
    Empty,    // 200 with an empty body
    Garbage,  // 200 with a body that is not JSON
};

bool ParseMode(const std::string& text, Mode& mode);
const char* ModeName(Mode mode);

struct Options {
    Mode mode = Mode::Ok;
    int maxAgeSeconds = 86400;
    int slowDelayMs = 3000;
};

// Parses and keeps a routes file. Empty text: no routes at all.
class Routes {
public:
    bool Load(const std::string& jsonText, std::string& error);
    // The answer body for a country (isSuccess 1 with its groups, or 0).
    std::string AnswerFor(const std::string& country) const;

private:
    struct Impl;
    std::shared_ptr<Impl> m_impl;
};

// The answer to one request, as the server in `options.mode` would give it.
support::HttpAnswer Answer(const Routes& routes, const Options& options, const support::HttpRequest& request);

// One line describing a request and its answer, for the server's log.
std::string DescribeExchange(const support::HttpRequest& request, const support::HttpAnswer& answer, Mode mode);

}  // namespace grs::routeserver
