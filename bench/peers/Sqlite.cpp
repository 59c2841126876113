// SQLite with everything off that guards a file: one transaction, whose pages stay in memory until it is committed.
#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/peers/System.h"

namespace CorvaneBench::Peers {
namespace {

class Database {
 public:
  Database(const std::string& file, int flags) {
    sqlite3* handle = nullptr;
    const int status = ::sqlite3_open_v2(file.c_str(), &handle, flags, nullptr);
    d_handle.reset(handle);
    check(status);
  }

  void run(const char* statements) { check(::sqlite3_exec(handle(), statements, nullptr, nullptr, nullptr)); }
  void check(int status) const {
    if (status != SQLITE_OK && status != SQLITE_ROW && status != SQLITE_DONE) {
      throw std::runtime_error(std::string("SQLite: ") + ::sqlite3_errmsg(handle()));
    }
  }
  sqlite3* handle() const { return d_handle.get(); }

 private:
  struct Close {
    void operator()(sqlite3* handle) const { ::sqlite3_close_v2(handle); }
  };
  std::unique_ptr<sqlite3, Close> d_handle;
};

/// A prepared statement; its texts and lists are borrowed until it has run.
class Statement {
 public:
  Statement(Database& database, const char* text) : d_database(database) {
    sqlite3_stmt* statement = nullptr;
    database.check(::sqlite3_prepare_v2(database.handle(), text, -1, &statement, nullptr));
    d_statement.reset(statement);
  }

  template <class... Values>
  void insert(const Values&... values) {
    int place = 0;
    (bind(++place, values), ...);
    d_database.check(::sqlite3_step(d_statement.get()));
    ::sqlite3_reset(d_statement.get());
  }

  /// False after the last row.
  bool next() {
    const int status = ::sqlite3_step(d_statement.get());
    d_database.check(status);
    return status == SQLITE_ROW;
  }
  int number(int column) const { return ::sqlite3_column_int(d_statement.get(), column); }
  double real(int column) const { return ::sqlite3_column_double(d_statement.get(), column); }
  std::string_view text(int column) const {
    const void* text = ::sqlite3_column_blob(d_statement.get(), column);  // as it is stored
    return {static_cast<const char*>(text), bytes(column)};
  }
  std::size_t bytes(int column) const {
    return static_cast<std::size_t>(::sqlite3_column_bytes(d_statement.get(), column));
  }

 private:
  void bind(int place, int number) { d_database.check(::sqlite3_bind_int(d_statement.get(), place, number)); }
  void bind(int place, double number) { d_database.check(::sqlite3_bind_double(d_statement.get(), place, number)); }
  void bind(int place, std::string_view text) {
    const char* data = text.data() == nullptr ? "" : text.data();
    const int size = static_cast<int>(text.size());
    d_database.check(::sqlite3_bind_text(d_statement.get(), place, data, size, SQLITE_STATIC));
  }
  void bind(int place, const std::vector<double>& numbers) {
    const int size = static_cast<int>(numbers.size() * sizeof(double));
    d_database.check(::sqlite3_bind_blob(d_statement.get(), place, numbers.data(), size, SQLITE_STATIC));
  }

  struct Finish {
    void operator()(sqlite3_stmt* statement) const { ::sqlite3_finalize(statement); }
  };
  Database& d_database;
  std::unique_ptr<sqlite3_stmt, Finish> d_statement;
};

constexpr const char* kOptions = R"(
  PRAGMA page_size = 65536; PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA locking_mode = EXCLUSIVE;
  PRAGMA cache_spill = OFF; PRAGMA cache_size = -16000000;)";

constexpr const char* kTables = R"(
  BEGIN;
  CREATE TABLE layer (id INTEGER PRIMARY KEY, name TEXT, z REAL);
  CREATE TABLE net (id INTEGER PRIMARY KEY, type INTEGER, name TEXT);
  CREATE TABLE vertex (id INTEGER PRIMARY KEY, name TEXT, x REAL, y REAL, z REAL, type INTEGER, layer TEXT, upper TEXT,
                       lower TEXT, options INTEGER);
  CREATE TABLE trace (name TEXT, net INTEGER, start INTEGER, end INTEGER, option INTEGER);
  CREATE TABLE via (name TEXT, net INTEGER, start INTEGER, end INTEGER, radius REAL);
  CREATE TABLE shape (name TEXT, layer INTEGER, net INTEGER, type INTEGER, option INTEGER, corners BLOB);
  CREATE TABLE circuit (id INTEGER PRIMARY KEY, name TEXT, option INTEGER);
  CREATE TABLE pin (circuit INTEGER, name TEXT, vertex INTEGER);)";

class Sqlite final : public System {
 public:
  explicit Sqlite(std::string file) : d_file(std::move(file)) {}

  void build(const Layout& board) override {
    d_database = std::make_unique<Database>(d_file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX);
    d_database->run(kOptions);
    d_database->run(kTables);
    Statement layers(*d_database, "INSERT INTO layer VALUES (?, ?, ?)");
    for (const auto* layer : board.layers) layers.insert(layer->id(), layer->name(), layer->z());
    Statement nets(*d_database, "INSERT INTO net VALUES (?, ?, ?)");
    for (const auto* net : board.nets) nets.insert(net->id(), static_cast<int>(net->type()), net->name());
    Statement vertices(*d_database, "INSERT INTO vertex VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    for (const auto* v : board.vertices) {
      vertices.insert(v->id(), v->name(), v->x(), v->y(), v->z(), v->type(), name_of(v->layer()), name_of(v->upLayer()),
                      name_of(v->lowLayer()), v->options());
    }
    Statement traces(*d_database, "INSERT INTO trace VALUES (?, ?, ?, ?, ?)");
    for (const auto* trace : board.traces) {
      traces.insert(trace->name(), trace->net()->id(), trace->startVertex()->id(), trace->endVertex()->id(),
                    trace->option());
    }
    Statement vias(*d_database, "INSERT INTO via VALUES (?, ?, ?, ?, ?)");
    for (const auto* via : board.vias) {
      vias.insert(via->name(), via->net()->id(), via->startVertex()->id(), via->endVertex()->id(), via->radius());
    }
    Statement shapes(*d_database, "INSERT INTO shape VALUES (?, ?, ?, ?, ?, ?)");
    for (const auto* shape : board.shapes) {
      shapes.insert(shape->name(), shape->layer()->id(), shape->net()->id(), static_cast<int>(shape->type()),
                    shape->option(), shape->coordinates());
    }
    Statement circuits(*d_database, "INSERT INTO circuit VALUES (?, ?, ?)");
    Statement pins(*d_database, "INSERT INTO pin VALUES (?, ?, ?)");
    int id = 0;
    for (const auto* circuit : board.circuits) {
      circuits.insert(++id, circuit->name(), circuit->option());
      for (const auto& [name, vertex] : circuit->pins()) pins.insert(id, name, vertex->id());
    }
  }

  void save() override {
    d_database->run("COMMIT");
    d_database.reset();
  }

  void load() override {
    d_database = std::make_unique<Database>(d_file, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX);
    d_database->run("PRAGMA locking_mode = EXCLUSIVE; PRAGMA mmap_size = 2147418112;");
  }

  void rebuild(Objects& to) override {
    Layout& board = to.layout;
    Statement layer(*d_database, "SELECT * FROM layer ORDER BY id");
    while (layer.next()) to.make_layer(layer.number(0), layer.text(1), layer.real(2));
    Statement net(*d_database, "SELECT * FROM net ORDER BY id");
    to.expect_nets(count("net"));
    while (net.next()) to.make_net(net.number(0), net.number(1), net.text(2));
    Statement v(*d_database, "SELECT * FROM vertex ORDER BY id");
    to.expect_vertices(count("vertex"));
    while (v.next()) {
      to.make_vertex(v.number(0), v.text(1), v.real(2), v.real(3), v.real(4), v.number(5), v.text(6), v.text(7),
                     v.text(8), v.number(9));
    }
    Statement trace(*d_database, "SELECT * FROM trace ORDER BY rowid");
    Objects::expect(board.traces, count("trace"));
    while (trace.next()) {
      to.make_trace(trace.text(0), to.net(trace.number(1)), to.vertex(trace.number(2)), to.vertex(trace.number(3)),
                    trace.number(4));
    }
    Statement via(*d_database, "SELECT * FROM via ORDER BY rowid");
    Objects::expect(board.vias, count("via"));
    while (via.next()) {
      to.make_via(via.text(0), to.net(via.number(1)), to.vertex(via.number(2)), to.vertex(via.number(3)), via.real(4));
    }
    Statement shape(*d_database, "SELECT * FROM shape ORDER BY rowid");
    Objects::expect(board.shapes, count("shape"));
    while (shape.next()) {
      const std::string_view bytes = shape.text(5);
      std::vector<double> corners(bytes.size() / sizeof(double));
      bytes.copy(reinterpret_cast<char*>(corners.data()), bytes.size());
      to.make_shape(shape.text(0), to.layer(shape.number(1)), to.net(shape.number(2)), shape.number(3), shape.number(4),
                    std::move(corners));
    }
    make_circuits(to);
  }

 private:
  void make_circuits(Objects& to) {
    Statement circuit(*d_database, "SELECT * FROM circuit ORDER BY id");
    Objects::expect(to.layout.circuits, count("circuit"));
    while (circuit.next()) to.make_circuit(circuit.text(1), circuit.number(2));
    Statement pin(*d_database, "SELECT * FROM pin ORDER BY rowid");
    while (pin.next()) {
      to.layout.circuits[pin.number(0) - 1]->addPin(std::string(pin.text(1)), to.vertex(pin.number(2)));
    }
  }

  /// Rows were never deleted, so that the last one's number is their count.
  std::size_t count(const std::string& table) {
    Statement last(*d_database, ("SELECT max(rowid) FROM " + table).c_str());
    return last.next() ? static_cast<std::size_t>(last.number(0)) + 1 : 0;
  }

  std::string d_file;
  std::unique_ptr<Database> d_database;
};

}  // namespace

Peer sqlite_peer() {
  return {"SQLite", ::sqlite3_libversion(),
          "prepared statements, one transaction kept in memory until its COMMIT; no journal, no sync, no lock, pages "
          "of 64 KiB; the file is mapped and queried while objects are made",
          make_system<Sqlite>};
}

}  // namespace CorvaneBench::Peers
