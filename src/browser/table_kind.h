#pragma once

namespace gateway::browser {

/// The tables that hold studies and series, in the cloud and on this machine.
enum class TableKind
{
    cloudStudies,
    cloudSeries,
    localStudies,
    localSeries
};

constexpr bool isCloud(TableKind kind)
{
    return kind == TableKind::cloudStudies || kind == TableKind::cloudSeries;
}

constexpr bool holdsSeries(TableKind kind)
{
    return kind == TableKind::cloudSeries || kind == TableKind::localSeries;
}

/// The three questions before a deletion.
enum class DeleteConfirmationStep
{
    first,
    second,
    third
};

} // namespace gateway::browser
