// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/redis_peer.cc: a Redis server of the benchmark's own, over a UNIX socket, its commands in pipelines. A
// longest prefix is one MGET of the key with every mask length that occurs.
#include <fcntl.h>
#include <hiredis/hiredis.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "bench/peers/peer.h"

namespace fibdb::bench {
namespace {

constexpr size_t kPipeline = 128;

using Reply = std::unique_ptr<redisReply, decltype([](redisReply* reply) { freeReplyObject(reply); })>;

class Connection {
 public:
  explicit Connection(const std::string& path) : context_(redisConnectUnix(path.c_str())) {}
  ~Connection() {
    if (context_ != nullptr) redisFree(context_);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool isOpen() const { return context_ != nullptr && context_->err == 0; }

  // A command of words, which may be any bytes.
  void begin(const char* command) {
    words_.assign(1, command);
    lengths_.assign(1, std::strlen(command));
  }
  void word(const void* bytes, size_t length) {
    words_.push_back(static_cast<const char*>(bytes));
    lengths_.push_back(length);
  }
  void send() {
    const int done = redisAppendCommandArgv(context_, static_cast<int>(words_.size()), words_.data(), lengths_.data());
    require(done == REDIS_OK, "redis: a command was not taken");
  }
  Reply receive() {
    void* reply = nullptr;
    require(redisGetReply(context_, &reply) == REDIS_OK, "redis: no answer");
    Reply got(static_cast<redisReply*>(reply));
    if (got->type == REDIS_REPLY_ERROR) fail(std::string("redis: ") + got->str);
    return got;
  }
  Reply ask(const char* text) {
    require(redisAppendCommand(context_, text) == REDIS_OK, "redis: a command was not taken");
    return receive();
  }

 private:
  redisContext* context_;
  std::vector<const char*> words_;
  std::vector<size_t> lengths_;
};

bool take(const redisReply& reply, Record& out) {
  if (reply.type != REDIS_REPLY_STRING || reply.len != sizeof out) return false;
  std::memcpy(&out, reply.str, sizeof out);
  return true;
}

// Timed one by one it asks one by one; otherwise a pipeline at a time.
class RedisReader final : public Reader {
 public:
  RedisReader(const std::string& path, const Lengths& lengths) : server_(path), lengths_(&lengths) {
    require(server_.isOpen(), "redis: no connection");
  }

  size_t read(std::span<const Key> keys, Samples* took) override {
    return inPipelines(
        keys, took,
        [this](const Key& key) {
          const PackedKey packed(key);
          server_.begin("GET");
          server_.word(packed.bytes, sizeof packed.bytes);
          server_.send();
        },
        [this](Record& out) { return take(*server_.receive(), out); });
  }
  size_t longest(std::span<const uint32_t> addrs, Samples* took) override {
    return inPipelines(
        addrs, took, [this](uint32_t addr) { ask(addr); }, [this](Record& out) { return first(out); });
  }
  bool answer(uint32_t addr, Record& out) override {
    ask(addr);
    return first(out);
  }

 private:
  void ask(uint32_t addr) {
    keys_.clear();
    for (const uint8_t length : lengths_->longestFirst()) keys_.emplace_back(Key{addr & maskOf(length), length});
    server_.begin("MGET");
    for (const PackedKey& key : keys_) server_.word(key.bytes, sizeof key.bytes);
    server_.send();
  }
  bool first(Record& out) {
    const Reply reply = server_.receive();
    const std::span<redisReply*> values(reply->element, reply->elements);
    return std::ranges::any_of(values, [&](const redisReply* value) { return take(*value, out); });
  }
  template <class Input, class Send, class Receive>
  static size_t inPipelines(std::span<const Input> inputs, Samples* took, Send&& send, Receive&& receive) {
    Record out;
    const auto one = [&] {
      const bool found = receive(out);
      keep(out);
      return found;
    };
    if (took != nullptr) {
      return each(inputs, took, [&](const Input& input) {
        send(input);
        return one();
      });
    }
    size_t found = 0;
    inParts(inputs, kPipeline, [&](std::span<const Input> part) {
      for (const Input& input : part) send(input);
      for (size_t i = 0; i < part.size(); ++i) found += one() ? 1 : 0;
    });
    return found;
  }

  Connection server_;
  const Lengths* lengths_;
  std::vector<PackedKey> keys_;
};

class Redis final : public Peer {
 public:
  Redis() : path_(scratch() + "/redis.socket") {
    start();
    server_ = std::make_unique<Connection>(path_);
    renew(0);
  }
  ~Redis() override {
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
  }
  Redis(const Redis&) = delete;
  Redis& operator=(const Redis&) = delete;

  std::string name() const override { return "redis"; }
  uint32_t abilities() const override { return kKeyed | kLongest | kThreads | kOneWriter; }
  void renew(size_t) override {
    server_->ask("FLUSHALL SYNC");
    lengths_ = {};
    emptyBytes_ = usedMemory();
  }
  void write(std::span<const Route> routes, size_t batch) override {
    inBatches(routes, batch, [this](const Route& route) {
      const PackedKey key(route.key);
      const auto record = made<Record>(route);
      server_->begin("SET");
      server_->word(key.bytes, sizeof key.bytes);
      server_->word(&record, sizeof record);
      server_->send();
      known_[route.key.length] = true;
    });
    relist();
  }
  void remove(std::span<const Route> routes, size_t batch) override {
    inBatches(routes, batch, [this](const Route& route) {
      const PackedKey key(route.key);
      server_->begin("DEL");
      server_->word(key.bytes, sizeof key.bytes);
      server_->send();
    });
  }
  size_t count() override { return static_cast<size_t>(server_->ask("DBSIZE")->integer); }
  uint64_t bytes() override { return usedMemory() - emptyBytes_; }
  std::unique_ptr<Reader> reader() override { return std::make_unique<RedisReader>(path_, lengths_); }

 private:
  void start() {
    std::string program = "redis-server", folder = scratch();
    std::vector<std::string> words = {program,
                                      "--port",
                                      "0",
                                      "--unixsocket",
                                      path_,
                                      "--save",
                                      "",
                                      "--dir",
                                      folder,
                                      "--appendonly",
                                      "no",
                                      "--daemonize",
                                      "no",
                                      "--loglevel",
                                      "warning",
                                      "--logfile",
                                      folder + "/redis.log"};
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    process_ = fork();
    if (process_ == 0) {
      // It ends with the benchmark, however that ends, and says nothing.
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      const int nowhere = open("/dev/null", O_RDWR);
      for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, standard);
      execvp(program.c_str(), arguments.data());
      _exit(1);
    }
    require(process_ > 0, "redis: not started");
    constexpr int kTries = 500;
    constexpr useconds_t kPause = 10'000;
    for (int i = 0; i < kTries; ++i) {
      if (access(path_.c_str(), F_OK) == 0 && Connection(path_).isOpen()) return;
      usleep(kPause);
    }
    fail("redis: no connection");
  }
  uint64_t usedMemory() {
    const Reply info = server_->ask("INFO memory");
    const char* const field = std::strstr(info->str, "used_memory_dataset:");
    require(field != nullptr, "redis: no memory told");
    return std::strtoull(std::strstr(info->str, "used_memory:") + std::strlen("used_memory:"), nullptr, 10);
  }
  // A pipeline a batch: the answers, of a few bytes each, wait in the socket.
  template <class Send>
  void inBatches(std::span<const Route> routes, size_t batch, Send&& send) {
    inParts(routes, batch, [&](std::span<const Route> part) {
      for (const Route& route : part) send(route);
      for (size_t i = 0; i < part.size(); ++i) server_->receive();
    });
  }
  // A length that was written once is asked for ever after.
  void relist() {
    for (uint8_t length = 0; length <= 32; ++length) {
      if (known_[length]) lengths_.add(length);
      known_[length] = false;
    }
  }

  std::string path_;
  pid_t process_ = 0;
  std::unique_ptr<Connection> server_;
  Lengths lengths_;
  bool known_[33] = {};
  uint64_t emptyBytes_ = 0;
};

const Enlisted kRedis("redis", make<Redis>);

}  // namespace
}  // namespace fibdb::bench
