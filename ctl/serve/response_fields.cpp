#include "ctl/serve/response_fields.h"

namespace norvad::ctl {

void SetSafeFields(boost::beast::http::fields& fields) {
    using boost::beast::http::field;
    fields.set("Content-Security-Policy",
               "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
               "base-uri 'none'; form-action 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'");
    fields.set("X-Content-Type-Options", "nosniff");
    fields.set("Referrer-Policy", "no-referrer");
    fields.set("Cross-Origin-Resource-Policy", "same-origin");
    fields.set(field::cache_control, "no-store");
}

}  // namespace norvad::ctl
