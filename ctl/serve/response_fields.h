#pragma once

#include <boost/beast/http/fields.hpp>

namespace norvad::ctl {

// What every answer tells the browser: the page is made of this server's own files and nothing else, no other page may
// frame it or read from it, and nothing is kept.
void SetSafeFields(boost::beast::http::fields& fields);

}  // namespace norvad::ctl
