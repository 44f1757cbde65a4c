#include "Script.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

namespace kuma {
namespace {

[[noreturn]] void misunderstood(const std::string& line, const std::string& word) {
    std::fprintf(stderr, "kuma-script: cannot understand \"%s\" in the line: %s\n", word.c_str(), line.c_str());
    std::exit(64);
}

std::uint64_t number(const std::string& line, const std::string& text) {
    std::size_t used = 0;
    std::uint64_t value = 0;
    try {
        value = std::stoull(text, &used);
    } catch (const std::exception&) {
        misunderstood(line, text);
    }
    const std::string unit = text.substr(used);
    if (unit == "K")
        return value << 10U;
    if (unit == "M")
        return value << 20U;
    if (unit == "G")
        return value << 30U;
    if (!unit.empty())
        misunderstood(line, text);
    return value;
}

int small(const std::string& line, const std::string& text) {
    return static_cast<int>(number(line, text));
}

std::string decoded(const std::string& line, const std::string& text) {
    const auto bytes = percentDecoded(text);
    if (!bytes)
        misunderstood(line, text);
    return *bytes;
}

using Set = std::function<void(Rule& rule, const std::string& value)>;

const std::map<std::string, Set>& options() {
    static const std::map<std::string, Set> all = {
        {"times", [](Rule& r, const std::string& v) { r.times = small(r.line, v); }},
        {"status", [](Rule& r, const std::string& v) { r.status = small(r.line, v); }},
        {"type", [](Rule& r, const std::string& v) { r.type = decoded(r.line, v); }},
        {"body", [](Rule& r, const std::string& v) { r.bodyFile = v; }},
        {"text", [](Rule& r, const std::string& v) { r.text = decoded(r.line, v); }},
        {"redirect", [](Rule& r, const std::string& v) { r.redirect = v; }},
        {"header", [](Rule& r, const std::string& v) { r.headers.push_back(decoded(r.line, v)); }},
        {"chunked", [](Rule& r, const std::string&) { r.framing = Rule::Framing::Chunked; }},
        {"until-close", [](Rule& r, const std::string&) { r.framing = Rule::Framing::UntilClose; }},
        {"size", [](Rule& r, const std::string& v) { r.size = number(r.line, v); }},
        {"fill", [](Rule& r, const std::string& v) { r.fill = decoded(r.line, v + " ").front(); }},
        {"endless", [](Rule& r, const std::string&) { r.endless = true; }},
        {"length", [](Rule& r, const std::string& v) { r.length = number(r.line, v); }},
        {"cut", [](Rule& r, const std::string& v) { r.cut = number(r.line, v); }},
        {"delay", [](Rule& r, const std::string& v) { r.delay = small(r.line, v); }},
        {"drip", [](Rule& r, const std::string& v) { r.drip = small(r.line, v); }},
        {"drip-body", [](Rule& r, const std::string& v) { r.dripBody = small(r.line, v); }},
        {"stall", [](Rule& r, const std::string&) { r.stall = true; }},
        {"stall-after", [](Rule& r, const std::string& v) { r.stallAfter = number(r.line, v); }},
        {"endless-head", [](Rule& r, const std::string&) { r.endlessHead = true; }},
        {"close", [](Rule& r, const std::string&) { r.close = true; }},
        {"reset", [](Rule& r, const std::string&) { r.reset = true; }},
        {"garbage", [](Rule& r, const std::string&) { r.raw = "\x01\x02 this is not HTTP at all \xff\r\n\r\n"; }},
        {"raw", [](Rule& r, const std::string& v) { r.raw = decoded(r.line, v); }},
    };
    return all;
}

struct Word {
    std::string name;
    std::string value;
};

std::vector<Word> wordsOf(const std::string& line) {
    std::vector<Word> words;
    std::istringstream stream(line);
    for (std::string word; stream >> word;) {
        const auto sign = word.find('=');
        words.push_back(sign == std::string::npos ? Word{word, {}} : Word{word.substr(0, sign), word.substr(sign + 1)});
    }
    return words;
}

Rule ruleOf(const std::string& line, const std::vector<Word>& words) {
    Rule rule;
    rule.line = line;
    rule.pattern = words.at(1).name;
    for (std::size_t i = 2; i < words.size(); ++i) {
        const auto option = options().find(words[i].name);
        if (option == options().end())
            misunderstood(line, words[i].name);
        option->second(rule, words[i].value);
    }
    return rule;
}

using SetAll = std::function<void(Script& script, const std::string& line, const std::string& value)>;

const std::map<std::string, SetAll>& settings() {
    static const std::map<std::string, SetAll> all = {
        {"not-ready requests",
         [](Script& s, const std::string& l, const std::string& v) { s.notReadyRequests = small(l, v); }},
        {"not-ready ms", [](Script& s, const std::string& l, const std::string& v) { s.notReadyMs = small(l, v); }},
        {"conversion ms", [](Script& s, const std::string& l, const std::string& v) { s.conversionMs = small(l, v); }},
        {"conversion clearing",
         [](Script& s, const std::string& l, const std::string& v) { s.clearingMs = small(l, v); }},
        {"exit code", [](Script& s, const std::string& l, const std::string& v) { s.exitCode = small(l, v); }},
        {"exit after", [](Script& s, const std::string& l, const std::string& v) { s.exitAfterMs = small(l, v); }},
        {"term ignore", [](Script& s, const std::string&, const std::string&) { s.termIgnored = true; }},
        {"term code", [](Script& s, const std::string& l, const std::string& v) { s.termCode = small(l, v); }},
        {"term delay", [](Script& s, const std::string& l, const std::string& v) { s.termDelayMs = small(l, v); }},
    };
    return all;
}

void apply(Script& script, const std::string& line, const std::string& subject, const Word& word) {
    const auto setting = settings().find(subject + ' ' + word.name);
    if (setting == settings().end())
        misunderstood(line, word.name);
    setting->second(script, line, word.value);
}

} // namespace

bool Rule::matches(std::string_view path) const {
    if (pattern.ends_with('*')) {
        return path.starts_with(std::string_view(pattern).substr(0, pattern.size() - 1));
    }
    return path == pattern;
}

Script readScript(const std::filesystem::path& file) {
    Script script;
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        const std::vector<Word> words = wordsOf(line);
        if (words.empty() || words.front().name.starts_with('#'))
            continue;
        const std::string& subject = words.front().name;
        if (words.size() < 2)
            misunderstood(line, subject);
        if (subject == "path") {
            script.rules.push_back(ruleOf(line, words));
            continue;
        }
        for (std::size_t i = 1; i < words.size(); ++i) {
            apply(script, line, subject, words[i]);
        }
    }
    return script;
}

std::string readFile(const std::filesystem::path& file) {
    const std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

std::optional<std::string> percentDecoded(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            bytes += text[i];
            continue;
        }
        const std::string digits(text.substr(i + 1, 2));
        if (digits.size() < 2 || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
            return std::nullopt;
        }
        bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
        i += 2;
    }
    return bytes;
}

} // namespace kuma
