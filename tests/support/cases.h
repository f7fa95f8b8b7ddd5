#pragma once

#include <QtTest>

#include <utility>
#include <vector>

/**
 * The rows of a test as structs with named members, the first of which names the row. A test has
 * AddCases() as all of its _data() function and begins with CurrentCase(); each has a struct of its
 * own.
 */
template <typename Case>
void AddCases(std::vector<Case> cases)
{
    static std::vector<Case> kept;
    kept = std::move(cases);
    QTest::addColumn<void*>("row");
    for (Case& row : kept)
        QTest::newRow(row.name) << static_cast<void*>(&row);
}

/** The row that the test runs with now. */
template <typename Case>
const Case& CurrentCase()
{
    QFETCH(void*, row);
    return *static_cast<const Case*>(row);
}
