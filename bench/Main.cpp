// Measures everything and prints the table. usage: bench_suite SITE FOLDER WWW; see bench/run.
#include "bench/Rows.h"

#include <QApplication>

#include <unistd.h>

int main(int argc, char** argv)
{
    bench::require(argc == 4 || argc == 5, "usage: bench_suite SITE FOLDER WWW");
    const bench::Stage stage {argv[1], argv[2], argv[3]};
    // What the code under measure prints is not the table.
    std::FILE* const out = fdopen(dup(STDOUT_FILENO), "w");
    bench::require(out && std::freopen("/dev/null", "w", stdout), "standard output");
    const QApplication application(argc, argv);
    if (argc == 5)
        bench::memoryProcess(argv[4], stage, out);

    bench::Table table(out);
    bench::downloadRows(table, stage);
    bench::memoryRow(table, stage);
    bench::documentRows(table);
    bench::fileRows(table, stage);
    bench::checkRows(table, stage);
    return std::fclose(out) == 0 ? 0 : 1;
}
