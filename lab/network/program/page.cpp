#include "lab/network/program/page.h"

#include <fmt/format.h>

#include "lab/network/program/svg_chart.h"

namespace norvad::network {

std::string PageText(const std::string& title, const std::string& summary, const std::vector<std::string>& pictures) {
    std::string text = fmt::format(
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>{0}</title>\n"
        "<style>body {{ font-family: sans-serif; margin: 2em }} pre {{ background: #f4f4f4; padding: 1em }}</style>\n"
        "</head>\n<body>\n<h1>{0}</h1>\n",
        XmlText(title));
    for (const std::string& picture : pictures) text += fmt::format("<p>\n{}</p>\n", picture);
    return text + fmt::format("<pre>\n{}</pre>\n</body>\n</html>\n", XmlText(summary));
}

}  // namespace norvad::network
