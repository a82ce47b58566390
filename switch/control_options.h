#pragma once

// Names the types of the option parser for headers that only hand them on.
namespace boost::program_options {
class options_description;
class variables_map;
}  // namespace boost::program_options
