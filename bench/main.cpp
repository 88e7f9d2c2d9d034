// Runs every benchmark, then prints one table: per operation and format the
// throughput and the ratios to the floors measured in the same run.
#include <cstdio>
#include <map>
#include <string>

#include "bench/support.h"

namespace {

class TableReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.iterations == 0) continue;
            // Process CPU time: the machine is shared, and page faults of new pictures count.
            const std::string name = run.run_name.function_name;
            Row& row = rows_[name];
            row.seconds = run.cpu_accumulated_time / double(run.iterations);
            auto it = run.counters.find("Mpix/s");
            row.mpix = it == run.counters.end() ? 0 : double(it->second);
            order_.push_back(name);
        }
    }

    void printTable() const {
        printf("\n%-44s %10s %10s %12s %12s\n", "operation/format", "ms", "Mpix/s", "x copy floor", "x read floor");
        for (const std::string& name : order_) {
            const Row& row = rows_.at(name);
            const size_t slash = name.rfind('/');
            const std::string format = slash == std::string::npos ? "" : name.substr(slash + 1);
            printf("%-44s %10.2f %10.1f %12s %12s\n", name.c_str(), row.seconds * 1e3, row.mpix,
                   ratio(row, "floor_copy/" + format).c_str(), ratio(row, "floor_read/" + format).c_str());
        }
    }

private:
    struct Row {
        double seconds = 0;
        double mpix = 0;
    };
    std::string ratio(const Row& row, const std::string& floorName) const {
        auto it = rows_.find(floorName);
        if (it == rows_.end() || it->second.seconds <= 0) return "-";
        char text[32];
        snprintf(text, sizeof text, "%.2f", row.seconds / it->second.seconds);
        return text;
    }
    std::map<std::string, Row> rows_;
    std::vector<std::string> order_;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    bench::registerAll();
    TableReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printTable();
    benchmark::Shutdown();
    return 0;
}
