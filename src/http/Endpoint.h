// SPDX-License-Identifier: MIT
// What the endpoint answers.
#ifndef VEXO_HTTP_ENDPOINT_H
#define VEXO_HTTP_ENDPOINT_H

#include <string>
#include <string_view>

#include "export/MetricsPage.h"

namespace vexo {

struct HttpRequest {
    std::string_view method;
    std::string_view path;    // without the query
    std::string_view accept;  // header; empty where there is none
};

struct HttpAnswer {
    unsigned int status = 200;
    std::string_view contentType;  // of static storage
    std::string body;
};

// Knows `/`, a short page for people; `/metrics`; and `/healthz`, which has the status 200 while the last record is whole
// and recent and 503 otherwise. Only GET and HEAD are answered. May be called on any thread.
class Endpoint {
public:
    // Borrows `page`. The short page is in the language of the environment.
    explicit Endpoint(const MetricsPage& page);

    // The body is that of a GET; whoever sends it leaves it out for a HEAD.
    HttpAnswer answer(const HttpRequest& request) const;

private:
    const MetricsPage& m_page;
    const std::string m_index;
};

}  // namespace vexo

#endif
