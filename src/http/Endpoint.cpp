// SPDX-License-Identifier: MIT
#include "http/Endpoint.h"

#include "foundation/Encoding.h"
#include "http/Accept.h"
#include "messages/MessageHelper.h"
#include "output/Version.h"
#include "record/JsonText.h"

namespace vexo {
namespace {

constexpr std::string_view kPlainText = "text/plain; charset=utf-8";
constexpr std::string_view kHtml = "text/html; charset=utf-8";

std::string html(const String& text) {
    std::string out;
    for (const char c : replacedText(narrow(text))) {
        if (c == '&') {
            out += "&amp;";
        } else if (c == '<') {
            out += "&lt;";
        } else {
            out += c;
        }
    }
    return out;
}

std::string indexPage() {
    const MessageHelper messages("AGENT", "AGENT_HTTP_");
    return "<!DOCTYPE html>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width\">\n"
           "<meta name=\"color-scheme\" content=\"light dark\">\n"
           "<title>vexo-agent</title>\n<h1>vexo-agent " +
           std::string(kProgramVersion) +
           "</h1>\n<ul>\n<li><a href=\"metrics\">/metrics</a>: " + html(messages.getResStr("METRICS")) +
           "\n<li><a href=\"healthz\">/healthz</a>: " + html(messages.getResStr("HEALTH")) + "\n</ul>\n";
}

}  // namespace

Endpoint::Endpoint(const MetricsPage& page) : m_page(page), m_index(indexPage()) {
}

HttpAnswer Endpoint::answer(const HttpRequest& request) const {
    constexpr unsigned int kOk = 200;
    constexpr unsigned int kNotFound = 404;
    constexpr unsigned int kNotAllowed = 405;
    constexpr unsigned int kUnavailable = 503;
    if (request.method != "GET" && request.method != "HEAD") return {kNotAllowed, kPlainText, "method not allowed\n"};
    if (request.path == "/") return {kOk, kHtml, m_index};
    if (request.path == "/metrics") {
        const ExpositionFormat format = formatFor(request.accept);
        return {kOk, contentTypeOf(format), m_page.render(format)};
    }
    if (request.path != "/healthz") return {kNotFound, kPlainText, "not found\n"};
    if (m_page.isUp()) return {kOk, kPlainText, "up\n"};
    return {kUnavailable, kPlainText, "down\n"};
}

}  // namespace vexo
