// A server that writes to its database: `backup_test_writer DATABASE MEGABYTES` fills a database in WAL mode, prints
// "ready", and then changes it everywhere, one transaction after another, until it is killed.
#include <cstdio>
#include <cstdlib>
#include <sqlite3.h>
#include <string>
#include <unistd.h>

namespace {

void execute(sqlite3* database, const std::string& statement) {
    char* error = nullptr;
    if (::sqlite3_exec(database, statement.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        std::fprintf(stderr, "%s: %s\n", statement.c_str(), error);
        std::exit(1);
    }
}

} // namespace

int main(int argc, char** argv) {
    sqlite3* database = nullptr;
    if (argc != 3 || ::sqlite3_open(argv[1], &database) != SQLITE_OK) {
        return 1;
    }
    execute(database, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA cache_size=-4000;"
                      "CREATE TABLE beat(id INTEGER PRIMARY KEY, monitor INTEGER, time INTEGER, message TEXT);"
                      "CREATE INDEX by_monitor ON beat(monitor, time); CREATE INDEX by_message ON beat(message);");
    const int rows = std::atoi(argv[2]) * 1000 + 100;
    execute(database, "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                          std::to_string(rows) +
                          ") INSERT INTO beat(monitor, time, message) SELECT i % 60, i, hex(randomblob(230)) FROM n;");
    std::puts("ready");
    std::fflush(stdout);
    while (true) {
        execute(database, "BEGIN; INSERT INTO beat(monitor, time, message) VALUES (abs(random()) % 60, random(), "
                          "hex(randomblob(200)));"
                          "UPDATE beat SET message = hex(randomblob(230)), time = random() WHERE id IN "
                          "(SELECT abs(random()) % " +
                              std::to_string(rows) +
                              " FROM beat LIMIT 20);"
                              "DELETE FROM beat WHERE id = abs(random()) % " +
                              std::to_string(rows) + "; COMMIT;");
        ::usleep(500);
    }
}
