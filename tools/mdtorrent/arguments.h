// The options of one command, and how they are read. What is wrong with an argument is said in one
// sentence, whatever it is.
#pragma once

#include <stddef.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace mdtorrent {

// A mistake in the arguments, as a sentence for the user.
struct Mistake {
  std::string text;
};

class Arguments {
 public:
  Arguments();

  // Each adds an option with all its names, such as "-j,--jobs". What it sets must outlive this object.
  void AddFlag(const char* names, bool& target, const char* description);
  void AddText(const char* names, const char* type, const char* need, std::string& target, const char* description);
  // A number from 1 to `most`.
  void AddNumber(const char* names, size_t most, size_t& target, const char* description);
  template <class T>
  void AddChoice(const char* names, const std::vector<std::pair<std::string, T>>& choices, T& target,
                 const char* description) {
    std::string need = "one of ";
    for (const auto& choice : choices) {
      need.append(&choice == &choices[0] ? "" : ", ").append(choice.first);
    }
    const auto take = [choices, &target](const std::string& value) {
      const auto found = std::find_if(choices.begin(), choices.end(), [&](const auto& c) { return c.first == value; });
      if (found == choices.end()) {
        return false;
      }
      target = found->second;
      return true;
    };
    AddValue(names, "NAME", std::move(need), take, description);
  }

  // Sets what the options ask for and returns the other arguments, unknown options among them. Of an
  // option that is given more than once the last value counts. Throws Mistake.
  std::vector<std::string> Read(const std::vector<std::string>& arguments);

  // The options with their descriptions, one a line.
  std::string Help() const;

 private:
  // Takes the value of an option; false for one that the option cannot take.
  using Take = std::function<bool(const std::string& value)>;

  void AddValue(const char* names, const char* type, std::string need, Take take, const char* description);
  std::vector<std::string> SplitAssignments(const std::vector<std::string>& arguments) const;
  Mistake MissingValue(const std::string& last_argument) const;

  CLI::App app_;
  std::map<const CLI::Option*, std::string> needs_;  // what an option needs, for whom it is not given
};

}  // namespace mdtorrent
