// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/map_command.cc: show route map.
#include <array>

#include "tools/fibdb/files/file_writer.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/output/text.h"
#include "tools/fibdb/routes/route_map.h"
#include "tools/fibdb/routes/route_questions.h"

namespace fibdb::program {
namespace {

Status showMap(Session& session, Arguments& arguments) {
  const std::string file = arguments.file();
  auto by = RouteMap::By::kLength;
  if (Arguments peek = arguments; !peek.empty() && peek.word("a word") == "by") {
    constexpr std::array<std::string_view, 2> kWords{"length", "group"};
    arguments.word("by");
    if (arguments.keyword(kWords) == 1) by = RouteMap::By::kGroup;
  }
  const Vrf vrf = takeVrf(arguments);
  arguments.end();
  RouteMap map(by);
  RouteSearch({.vr = vrf.vr, .vrf = vrf.index}).forEach(UINT64_MAX, [&](const FibDbIp4forwardItem& route) {
    map.add(prefixOf(route), route.attr_word_a);
  });
  session.output.flush();
  FileWriter writer(file);
  writer.write(map.svg());
  writer.commit();
  if (file == "-") return Status::kOk;
  session.output.result(counted(map.routes(), "route") + " drawn to " + file,
                        {{"file", file}, {"routes", map.routes()}});
  return Status::kOk;
}

constexpr Command kCommands[] = {
    {"show route map", "FILE [by length | group] [vr N] [vrf N]", "the address space as a picture, an SVG file",
     "Addresses lie along a Hilbert curve from the upper left corner to the upper right one: neighbours stay\n"
     "neighbours, and every prefix is a square or half of one. A cell is a /18; it has the colour of the mask\n"
     "length, or of the group, by which most of its addresses are routed. - writes standard output.",
     showMap},
};

}  // namespace

std::span<const Command> mapCommands() { return kCommands; }

}  // namespace fibdb::program
