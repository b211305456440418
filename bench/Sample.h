#pragma once

#include <QString>
#include <vector>

/// The figures of one quantity over the runs of a benchmark.
class Sample {
public:
    void add(double value) { values_.push_back(value); }
    std::size_t size() const { return values_.size(); }
    double median() const { return quantile(0.5); }
    double quantile(double part) const;

    /// "median 12.3 (min 11.0, max 20.1)".
    QString text(const char *unit) const;

private:
    std::vector<double> values_;
};
