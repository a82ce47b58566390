#include "tests/ctl/json_schema.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

namespace norvad::ctl::test {

std::string SchemaViolation(const std::string& text) {
    using valijson::adapters::NlohmannJsonAdapter;
    const auto description = nlohmann::json::parse(std::ifstream(NORVADCTL_SCHEMA));
    const auto document = nlohmann::json::parse(text);
    valijson::Schema schema;
    valijson::SchemaParser(valijson::SchemaParser::kDraft7).populateSchema(NlohmannJsonAdapter(description), schema);

    valijson::ValidationResults results;
    valijson::Validator().validate(schema, NlohmannJsonAdapter(document), &results);
    std::string violation;
    for (const auto& result : results) {
        for (const std::string& step : result.context) violation += step;
        violation += ": " + result.description + "\n";
    }
    return violation;
}

}  // namespace norvad::ctl::test
