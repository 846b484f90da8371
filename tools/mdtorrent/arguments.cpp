#include "tools/mdtorrent/arguments.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace mdtorrent {
namespace {

// Digits only: no sign, space or other base.
bool TakeNumber(const std::string& value, size_t most, size_t& target) {
  size_t number = 0;
  const char* const end = value.data() + value.size();
  const std::from_chars_result result = std::from_chars(value.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end || number < 1 || number > most) {
    return false;
  }
  target = number;
  return true;
}

// The name of the option that stands before the "=" at `equals`: of several letters the last one.
std::string AssignedName(const std::string& argument, size_t equals) {
  return argument.starts_with("--") ? argument.substr(0, equals) : std::string("-") + argument[equals - 1];
}

}  // namespace

Arguments::Arguments() {
  app_.set_help_flag();
  app_.allow_extras();
}

void Arguments::AddFlag(const char* names, bool& target, const char* description) {
  app_.add_flag(names, target, description);
}

void Arguments::AddText(const char* names, const char* type, const char* need, std::string& target,
                        const char* description) {
  const auto take = [&target](const std::string& value) {
    target = value;
    return true;
  };
  AddValue(names, type, need, take, description);
}

void Arguments::AddNumber(const char* names, size_t most, size_t& target, const char* description) {
  const auto take = [most, &target](const std::string& value) { return TakeNumber(value, most, target); };
  AddValue(names, "N", "a number from 1 to " + std::to_string(most), take, description);
}

void Arguments::AddValue(const char* names, const char* type, std::string need, Take take, const char* description) {
  const std::string all_names = names;
  const std::string name = all_names.substr(all_names.rfind(',') + 1);
  const auto check = [name, need, take = std::move(take)](const CLI::results_t& values) {
    if (!take(values.back())) {
      throw Mistake{name + " needs " + need + ", not \"" + values.back() + "\""};
    }
    return true;
  };
  CLI::Option* const option = app_.add_option(names, CLI::callback_t(check), description);
  option->type_name(type)->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  needs_[option] = std::move(need);
}

// The parser takes "--name=" for an option without a value, and gives flags one. Here "--name=" has an empty
// value, and a flag has none. A value that looks like an assignment itself must stand behind a "=".
std::vector<std::string> Arguments::SplitAssignments(const std::vector<std::string>& arguments) const {
  std::vector<std::string> split;
  for (const std::string& argument : arguments) {
    split.push_back(argument);
    const size_t equals = argument.find('=');
    if (argument[0] != '-' || equals == argument.npos || equals < 2) {
      continue;
    }
    const std::string name = AssignedName(argument, equals);
    const CLI::Option* const option = app_.get_option_no_throw(name);
    if (option && !needs_.contains(option)) {
      throw Mistake{name + " takes no value"};
    }
    if (option && argument == name + "=") {
      split.back() = name;
      split.emplace_back();
    }
  }
  return split;
}

// Only the last argument can lack its value.
Mistake Arguments::MissingValue(const std::string& last_argument) const {
  const bool is_long = last_argument.starts_with("--");
  const CLI::Option* const option =
      app_.get_option_no_throw(is_long ? last_argument : std::string("-") + last_argument.back());
  return {option->get_name() + " needs " + needs_.at(option)};
}

std::vector<std::string> Arguments::Read(const std::vector<std::string>& arguments) {
  std::vector<std::string> backwards = SplitAssignments(arguments);
  std::reverse(backwards.begin(), backwards.end());
  try {
    app_.parse(backwards);
  } catch (const CLI::ArgumentMismatch&) {
    throw MissingValue(arguments.back());
  }
  return app_.remaining();
}

std::string Arguments::Help() const {
  CLI::Formatter formatter;
  formatter.column_width(22);
  return formatter.make_groups(&app_, CLI::AppFormatMode::Normal) + "\n";
}

}  // namespace mdtorrent
