// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/arena_commands.cc: arenas, and the processes in them.
#include "fibdb/engine.h"
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/base/clock.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/shell/command.h"

namespace fibdb::program {
namespace {

constexpr uint64_t kMicro = 1'000'000;

Value timeValue(uint64_t microseconds) {
  return microseconds == 0 ? Value() : Value(timeText(static_cast<std::time_t>(microseconds / kMicro)));
}

std::string doingOf(const FibDbEngineProcess& process) {
  if (process.isDead != 0) return "dead";
  return process.writes != 0 ? "writes" : "reads";
}

int showProcess(const FibDbEngineProcess* process, void* context) {
  const std::string name(process->name);
  static_cast<Output*>(context)->row(
      {uint64_t{process->pid}, name.empty() ? Value() : Value(name), doingOf(*process), timeValue(process->joinedAt),
       process->writes != 0 ? Value(process->waiting) : Value(), timeValue(process->lastWriteAt)});
  return 0;
}

Status showProcesses(Session& session, Arguments& arguments) {
  arguments.end();
  FibDbEngineShared shared{};
  if (call<fibdb_engine_shared>(&shared) == DB_ERR_NO_DATA) {
    throw Failure(Status::kFailed, "the tables are this process's own: --arena NAME joins");
  }
  session.output.beginList({"processes",
                            {{"pid"},
                             {"program"},
                             {"mode"},
                             {"joined"},
                             {"waiting", Format::kCount, 0, true},
                             {"last_write", Format::kPlain, 0, true}}});
  const uint32_t code = call<fibdb_engine_processes>(nullptr, showProcess, &session.output);
  session.output.endList();
  if (code != 0) throw Failure(Status::kFailed, codeText(code));
  return Status::kOk;
}

int showArena(const FibDbEngineArenaEntry* arena, void* context) {
  const bool usable = arena->code == 0;
  static_cast<Output*>(context)->row(
      {std::string(arena->name), usable ? Value(arena->bytes) : Value(), arena->allocated, timeValue(arena->createdAt),
       usable ? Value(uint64_t{arena->processes}) : Value(), usable ? Value() : Value(std::string(arena->text))});
  return 0;
}

Status listArenas(Session& session, Arguments& arguments) {
  arguments.end();
  session.output.beginList({"arenas",
                            {{"arena"},
                             {"reserved", Format::kBytes},
                             {"memory", Format::kBytes},
                             {"created"},
                             {"processes", Format::kCount, 0, true},
                             {"trouble"}}});
  const uint32_t code = call<fibdb_engine_arenas>(showArena, &session.output);
  session.output.endList();
  if (code != 0) throw Failure(Status::kFailed, codeText(code));
  return Status::kOk;
}

// The numbers of the processes in an arena.
std::string whoIsIn(const std::string& arena) {
  std::string pids;
  const auto add = [](const FibDbEngineProcess* process, void* context) {
    auto& all = *static_cast<std::string*>(context);
    all += (all.empty() ? "" : ", ") + std::to_string(process->pid);
    return 0;
  };
  call<fibdb_engine_processes>(arena.c_str(), static_cast<FibDbEngineProcessVisit>(add), &pids);
  return pids;
}

Status removeArena(Session& session, Arguments& arguments) {
  const std::string name = arguments.word("an arena");
  const bool force = arguments.lastKeyword("force");
  const uint32_t code = call<fibdb_engine_arena_remove>(name.c_str(), force ? 1U : 0U);
  if (code == DB_ERR_ARENA_BUSY) {
    throw Failure(Status::kFailed, "processes are in arena " + name + ": " + whoIsIn(name),
                  "force removes its name; they go on without it");
  }
  if (code != 0) throw Failure(Status::kFailed, "arena " + name + ": " + codeText(code));
  session.output.done("removed arena " + name, {{"removed", name}});
  return Status::kOk;
}

constexpr Command kCommands[] = {
    {"show processes", "", "the processes in the arena: since when, and whether they write",
     "Of a process that writes also the batches that wait and when it wrote last. A dead one left without saying so;\n"
     "the next that joins takes its place.",
     showProcesses},
    {"arena list", "", "the arenas in memory", "", listArenas},
    {"arena remove", "NAME [force]", "remove an arena and all that is in it",
     "While processes are in it only with force. They then go on with tables that nobody else can join any more.",
     removeArena},
};

}  // namespace

std::span<const Command> arenaCommands() { return kCommands; }

}  // namespace fibdb::program
