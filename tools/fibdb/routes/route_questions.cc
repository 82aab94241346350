// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/route_questions.cc: show route, and what answering it costs.
#include "tools/fibdb/routes/route_questions.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <ctime>
#include <map>

#include "tools/fibdb/base/clock.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/output/text.h"
#include "tools/fibdb/routes/route_search.h"
#include "tools/fibdb/tables/resolve.h"

namespace fibdb::program {
namespace {

constexpr size_t kShownGroups = 10;

// The attributes that the program never writes itself; shown when another writer set them.
struct Attribute {
  const char* name;
  uint64_t (*get)(const FibDbIp4forwardItem& item);
};
using Item = const FibDbIp4forwardItem&;
constexpr Attribute kAttributes[] = {
    {"attr_byte_a", [](Item i) -> uint64_t { return i.attr_byte_a; }},
    {"attr_half_a", [](Item i) -> uint64_t { return i.attr_half_a; }},
    {"attr_word_b", [](Item i) -> uint64_t { return i.attr_word_b; }},
    {"attr_word_c", [](Item i) -> uint64_t { return i.attr_word_c; }},
    {"attr_half_b", [](Item i) -> uint64_t { return i.attr_half_b; }},
    {"attr_byte_b", [](Item i) -> uint64_t { return i.attr_byte_b; }},
    {"attr_byte_c", [](Item i) -> uint64_t { return i.attr_byte_c; }},
    {"attr_half_c", [](Item i) -> uint64_t { return i.attr_half_c; }},
    {"attr_word_d", [](Item i) -> uint64_t { return i.attr_word_d; }},
    {"high_status", [](Item i) -> uint64_t { return i.high_status; }},
    {"attr_byte_e", [](Item i) -> uint64_t { return i.attr_byte_e; }},
    {"attr_byte_f", [](Item i) -> uint64_t { return i.attr_byte_f; }},
    {"attr_byte_g", [](Item i) -> uint64_t { return i.attr_byte_g; }},
    {"attr_dword_a", [](Item i) -> uint64_t { return i.attr_dword_a; }},
    {"attr_half_d", [](Item i) -> uint64_t { return i.attr_half_d; }},
    {"attr_byte_d", [](Item i) -> uint64_t { return i.attr_byte_d; }},
    {"attr_dword_b", [](Item i) -> uint64_t { return i.attr_dword_b; }},
    {"attr_dword_c", [](Item i) -> uint64_t { return i.attr_dword_c; }},
};

std::vector<Fact> routeFacts(const FibDbIp4forwardItem& item) {
  std::vector<Fact> facts{{"prefix", formatPrefix(prefixOf(item))}, {"group", uint64_t{item.attr_word_a}}};
  if (vrfOf(item) != Vrf()) {
    facts.push_back({"vr", uint64_t{item.vr_id}});
    facts.push_back({"vrf", uint64_t{item.vrf_index}});
  }
  if (originOf(item) != 0) facts.push_back({"origin_as", uint64_t{originOf(item)}});
  facts.push_back({"generation", uint64_t{item.table_smooth_id}});
  facts.push_back({"source_pid", uint64_t{item.source_pid}});
  facts.push_back({"written", timeText(static_cast<std::time_t>(item.time_stamp_svc / 1000000))});
  for (const Attribute& attribute : kAttributes) {
    if (attribute.get(item) != 0) facts.push_back({attribute.name, attribute.get(item)});
  }
  return facts;
}

// The route's facts, and below its prefix the group that it names.
Tree treeOf(const FibDbIp4forwardItem& route) {
  return {.line = formatPrefix(prefixOf(route)),
          .facts = routeFacts(route),
          .below = "groups",
          .children = {treeOf(findGroup(route.attr_word_a, route.vr_id))}};
}

// Words. --------------------------------------------------------------------------------------------------------------
struct Question {
  enum class Of {
    kAddress,   // the longest prefix that covers it
    kPrefix,    // exactly this route
    kCovering,  // all that cover a prefix
    kLonger,    // all inside a prefix
    kMatching,  // all that fit
  };
  Of of = Of::kMatching;
  Prefix prefix = {};
  RouteQuery query = {};
  bool count = false;
  uint64_t most = UINT64_MAX;

  // Of the questions for a prefix, which belongs to one VRF.
  Vrf vrf() const { return {query.vr.value_or(0), query.vrf.value_or(0)}; }
};

// A number that the column of a route can have.
uint32_t takeNumber(Arguments& arguments, const std::string& column, uint32_t most) {
  const std::string& text = arguments.word("a value for " + column);
  const auto number = parseNumber(text);
  if (!number) arguments.fail(column + ": " + inQuotes(text) + " is not a number");
  if (*number > most) {
    arguments.fail("a " + column + " is at most " + std::to_string(most) + ": no route has " + text);
  }
  return static_cast<uint32_t>(*number);
}

// N, or N-M.
void takeLengths(Arguments& arguments, RouteQuery& query) {
  const std::string& text = arguments.word("a mask length");
  const size_t dash = text.find('-');
  const Words bounds{text.substr(0, dash), dash == std::string::npos ? text : text.substr(dash + 1)};
  Arguments lengths(arguments.command(), bounds);
  query.shortest = static_cast<uint8_t>(takeNumber(lengths, "length", 32));
  query.longest = static_cast<uint8_t>(takeNumber(lengths, "length", 32));
  if (query.shortest > query.longest) arguments.fail("no route can match: no length is in " + text);
}

// [in | covering] PREFIX
void takePrefix(Arguments& arguments, RouteQuery& query) {
  Arguments peek = arguments;
  const std::string& first = peek.word("a prefix");
  size_t how = 2;  // exactly this one
  if (!first.empty() && std::islower(static_cast<unsigned char>(first.front())) != 0) {
    constexpr std::array<std::string_view, 2> kHows{"in", "covering"};
    how = arguments.keyword(kHows);
  }
  const Prefix prefix = arguments.prefix();
  if (how != 1) query.inside = prefix;
  if (how != 0) query.covering = prefix;
}

// What the columns say together.
void requireMatchable(const RouteQuery& query, const Arguments& arguments) {
  const auto refuse = [&](const std::string& why) { arguments.fail("no route can match: " + why); };
  if (query.inside && query.longest < query.inside->length) {
    refuse("what lies in " + formatPrefix(*query.inside) + " is no shorter than it");
  }
  if (query.covering && query.shortest > query.covering->length) {
    refuse("what covers " + formatPrefix(*query.covering) + " is no longer than it");
  }
}

constexpr std::array<std::string_view, 7> kFilters{"group", "length", "vr", "vrf", "prefix", "count", "limit"};

void takeFilter(Arguments& arguments, size_t filter, Question& question) {
  RouteQuery& query = question.query;
  switch (filter) {
    case 0:
      query.group = takeNumber(arguments, "group", UINT32_MAX);
      break;
    case 1:
      takeLengths(arguments, query);
      break;
    case 2:
      query.vr = takeVr(arguments);
      break;
    case 3:
      query.vrf = takeVrfIndex(arguments);
      break;
    case 4:
      takePrefix(arguments, query);
      break;
    case 5:
      question.count = true;
      break;
    default:
      question.most = arguments.number("a number of routes");
      if (question.most == 0) arguments.fail("limit 0 would show nothing");
  }
}

Question takeFilters(Arguments& arguments) {
  Question question;
  std::array<bool, kFilters.size()> given{};
  do {
    const size_t filter = arguments.keyword(kFilters);
    if (std::exchange(given[filter], true)) arguments.fail(std::string(kFilters[filter]) + " is given twice");
    takeFilter(arguments, filter, question);
  } while (!arguments.empty());
  if (question.count && question.most != UINT64_MAX) arguments.fail("a count has no limit");
  requireMatchable(question.query, arguments);
  return question;
}

// Behind an address or a prefix, which has a length already where it is no address.
void takeHow(Arguments& arguments, Question& question) {
  constexpr std::array<std::string_view, 4> kHows{"longer", "covering", "vr", "vrf"};
  using Of = Question::Of;
  while (!arguments.empty()) {
    const size_t how = arguments.keyword(kHows);
    if (how == 2) {
      question.query.vr = takeVr(arguments);
    } else if (how == 3) {
      question.query.vrf = takeVrfIndex(arguments);
    } else if (question.of == Of::kLonger || question.of == Of::kCovering) {
      arguments.fail("longer or covering, once");
    } else {
      question.of = how == 0 ? Of::kLonger : Of::kCovering;
    }
  }
  if (question.of == Of::kLonger) question.query.inside = question.prefix;
  if (question.of == Of::kCovering) question.query.covering = question.prefix;
  const Vrf vrf = question.vrf();
  question.query.vr = vrf.vr;
  question.query.vrf = vrf.index;
}

// Nothing, or the VRF: every route of it.
Question takeQuestion(Arguments& arguments) {
  if (arguments.empty()) return {};
  if (namesVrf(arguments)) return takeFilters(arguments);
  Question question;
  Arguments peek = arguments;
  question.of = parseAddress(peek.word("an address or a prefix")) ? Question::Of::kAddress : Question::Of::kPrefix;
  question.prefix = arguments.prefix();
  takeHow(arguments, question);
  return question;
}

// Answers. ------------------------------------------------------------------------------------------------------------
void showExact(Session& session, const Prefix& prefix, const Vrf& vrf) {
  const auto route = readRoute(prefix, vrf);
  if (!route) throw Failure(Status::kFailed, "no route " + formatPrefix(prefix) + inVrf(vrf));
  session.output.tree(formatPrefix(prefix), treeOf(*route));
}

ListHead routesHead() { return {"routes", {{"prefix", Format::kPlain, 18}, {"group", Format::kPlain, 10}}}; }

// Around or inside a prefix.
void showAbout(Session& session, const Question& question) {
  bool found = false;
  RouteSearch(question.query).forEach(question.most, [&](const FibDbIp4forwardItem& route) {
    if (!std::exchange(found, true)) session.output.beginList(routesHead());
    session.output.row({formatPrefix(prefixOf(route)), uint64_t{route.attr_word_a}});
  });
  if (found) return session.output.endList();
  const char* says = question.of == Question::Of::kLonger ? "no route inside " : "no route covers ";
  throw Failure(Status::kFailed, says + formatPrefix(question.prefix) + inVrf(question.vrf()));
}

void showMatching(Session& session, const Question& question) {
  RouteSearch search(question.query);
  if (question.count) {
    const uint64_t routes = search.count();
    return session.output.result(formatCount(routes), {{"routes", routes}});
  }
  ListHead head = routesHead();
  head.columns.insert(head.columns.end(), {{"vr"}, {"vrf"}});
  session.output.beginList(std::move(head));
  search.forEach(question.most, [&](const FibDbIp4forwardItem& route) {
    session.output.row(
        {formatPrefix(prefixOf(route)), uint64_t{route.attr_word_a}, uint64_t{route.vr_id}, uint64_t{route.vrf_index}});
  });
  session.output.endList();
}

Status answer(Session& session, const Question& question) {
  switch (question.of) {
    case Question::Of::kAddress:
      showCoveringRoute(session, question.prefix.address, question.vrf());
      break;
    case Question::Of::kPrefix:
      showExact(session, question.prefix, question.vrf());
      break;
    case Question::Of::kCovering:
    case Question::Of::kLonger:
      showAbout(session, question);
      break;
    case Question::Of::kMatching:
      showMatching(session, question);
      break;
  }
  return Status::kOk;
}

struct Cost {
  std::string index;
  std::vector<RouteSeek> seeks;
  uint64_t routesRead = 0;
  uint64_t found = 0;
};

// The same search, its routes thrown away.
Cost costOf(const Question& question) {
  if (question.of == Question::Of::kAddress || question.of == Question::Of::kPrefix) {
    const bool exactly = question.of == Question::Of::kPrefix;
    const uint64_t found =
        (exactly ? readRoute(question.prefix, question.vrf()) : lookUpRoute(question.prefix.address, question.vrf()))
            .has_value();
    const uint32_t index = exactly ? FIB_DB_IP4FORWARD_PRIMARY : FIB_DB_IP4FORWARD_LONGEST;
    return {exactly ? "primary key" : nameOf(RouteIndex::kLongestPrefix),
            {{index, keyOf(question.vrf(), question.prefix)}},
            found,
            found};
  }
  RouteSearch search(question.query);
  const uint64_t found = question.count ? search.count() : search.forEach(question.most, [](const auto&) {});
  return {nameOf(search.index()), search.seeks(), search.routesRead(), found};
}

Status explain(Session& session, const Question& question) {
  const Stopwatch watch;
  const Cost cost = costOf(question);
  const double microseconds = watch.seconds() * 1e6;
  uint64_t nodes = 0;
  for (const RouteSeek& seek : cost.seeks) nodes += nodesTo(seek);
  session.output.record("found by", {{"index", cost.index},
                                     {"seeks", uint64_t{cost.seeks.size()}, Format::kCount},
                                     {"nodes", nodes, Format::kCount},
                                     {"routes_read", cost.routesRead, Format::kCount},
                                     {"routes_found", cost.found, Format::kCount},
                                     {"microseconds", microseconds}});
  return Status::kOk;
}

// How many of what. ---------------------------------------------------------------------------------------------------
struct RouteCounts {
  uint64_t routes = 0;
  std::array<uint64_t, 33> byLength{};
  std::map<uint32_t, uint64_t> byGroup;
};

RouteCounts countByLengthAndGroup(const RouteQuery& which) {
  RouteCounts counts;
  RouteIterator routes(RouteIterator::Order::kAny);
  while (const FibDbIp4forwardItem* item = routes.next()) {
    if (!which.fits(*item)) continue;
    ++counts.routes;
    ++counts.byLength[std::min<size_t>(item->mask_len, 32)];
    ++counts.byGroup[item->attr_word_a];
  }
  return counts;
}

struct Bucket {
  uint64_t key;
  uint64_t routes;
};

void showBuckets(Session& session, const char* name, const char* key, const std::vector<Bucket>& buckets,
                 uint64_t total) {
  uint64_t most = 1;
  for (const Bucket& bucket : buckets) most = std::max(most, bucket.routes);
  session.output.beginList(
      {name, {{key}, {"routes", Format::kCount}, {"percent", Format::kPercent}, {"bar", Format::kBar}}, true});
  for (const Bucket& bucket : buckets) {
    const auto routes = static_cast<double>(bucket.routes);
    session.output.row(
        {bucket.key, bucket.routes, 100 * routes / static_cast<double>(total), routes / static_cast<double>(most)});
  }
  session.output.endList();
}

void showSummaryOf(Session& session, const RouteQuery& which) {
  const RouteCounts counts = countByLengthAndGroup(which);
  session.output.result(counted(counts.routes, "route") + " in " + counted(counts.byGroup.size(), "group"),
                        {{"routes", counts.routes}, {"groups", uint64_t{counts.byGroup.size()}}});
  if (counts.routes == 0) return;
  std::vector<Bucket> lengths;
  for (size_t length = 0; length < counts.byLength.size(); ++length) {
    if (counts.byLength[length] > 0) lengths.push_back({length, counts.byLength[length]});
  }
  showBuckets(session, "mask_lengths", "length", lengths, counts.routes);
  std::vector<Bucket> groups;
  for (const auto& [group, routes] : counts.byGroup) groups.push_back({group, routes});
  std::stable_sort(groups.begin(), groups.end(), [](auto& a, auto& b) { return a.routes > b.routes; });
  if (groups.size() > kShownGroups) groups.resize(kShownGroups);
  showBuckets(session, "largest_groups", "group", groups, counts.routes);
}

Status showRoute(Session& session, Arguments& arguments) { return answer(session, takeQuestion(arguments)); }
Status showRoutes(Session& session, Arguments& arguments) { return answer(session, takeFilters(arguments)); }
Status explainRoute(Session& session, Arguments& arguments) { return explain(session, takeQuestion(arguments)); }
Status explainRoutes(Session& session, Arguments& arguments) { return explain(session, takeFilters(arguments)); }

Status showSummary(Session& session, Arguments& arguments) {
  const RouteQuery which = takeVrfOrAll(arguments);
  arguments.end();
  showSummaryOf(session, which);
  return Status::kOk;
}

constexpr std::string_view kAbout = "[ADDRESS | PREFIX [longer | covering]] [vr N] [vrf N]";
constexpr std::string_view kWhere =
    "[group N] [length N[-M]] [vr N] [vrf N] [prefix [in | covering] PREFIX] [count | limit N]";

constexpr Command kCommands[] = {
    {"show route", kAbout, "the route that covers an address, or the route of a prefix",
     "ADDRESS: the longest prefix that covers it. PREFIX/LENGTH: exactly this route. Both with the route's group,\n"
     "the group's members, and what is known of their next hops. With longer: all routes inside the prefix,\n"
     "in key order. With covering: all that cover it, longest first. In virtual router 0, VRF 0 unless vr or vrf say\n"
     "otherwise. Without an address or a prefix: every route, of all VRFs unless one is given.",
     showRoute},
    {"show route where", kWhere, "the routes that fit, in key order, or how many they are",
     "Of all VRFs unless one is given. length is that of the mask. prefix in: those inside the prefix, and it;\n"
     "prefix covering: those that cover it, and it, longest first.",
     showRoutes},
    {"show route summary", "[vr N] [vrf N]", "routes by mask length, and the largest groups", "", showSummary},
    {"explain show route", kAbout, "which index finds what show route would show, and what it costs",
     "The search is made, and its routes are thrown away.", explainRoute},
    {"explain show route where", kWhere, "the same of show route where", "", explainRoutes},
};

}  // namespace

std::span<const Command> routeQuestionCommands() { return kCommands; }

uint32_t takeVr(Arguments& arguments) { return takeNumber(arguments, "vr", FIB_DB_MAX_VR_ID); }
uint32_t takeVrfIndex(Arguments& arguments) { return takeNumber(arguments, "vrf", FIB_DB_MAX_VRF_INDEX); }

bool namesVrf(Arguments arguments) {
  if (arguments.empty()) return false;
  const std::string& word = arguments.word("vr or vrf");
  return word == "vr" || word == "vrf";
}

Vrf takeVrf(Arguments& arguments) {
  Vrf vrf;
  while (namesVrf(arguments)) {
    const bool ofRouter = arguments.word("vr or vrf") == "vr";
    (ofRouter ? vrf.vr : vrf.index) = ofRouter ? takeVr(arguments) : takeVrfIndex(arguments);
  }
  return vrf;
}

RouteQuery takeVrfOrAll(Arguments& arguments) {
  if (!namesVrf(arguments)) return {};
  const Vrf vrf = takeVrf(arguments);
  return {.vr = vrf.vr, .vrf = vrf.index};
}

void showCoveringRoute(Session& session, uint32_t address, const Vrf& vrf) {
  const auto route = lookUpRoute(address, vrf);
  if (!route) throw Failure(Status::kFailed, "no route covers " + formatAddress(address) + inVrf(vrf));
  Tree tree = treeOf(*route);
  tree.facts.insert(tree.facts.begin(), {"address", formatAddress(address)});
  session.output.tree(formatAddress(address) + " is covered by " + formatPrefix(prefixOf(*route)), tree);
}

void showRouteSummary(Session& session) { showSummaryOf(session, {}); }

}  // namespace fibdb::program
