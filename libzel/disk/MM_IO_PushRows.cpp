// Storage of the rows of a push pass.
#include "disk/MM_IO_PushRows.h"

#include "rates/Growth.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace zel {

namespace {

constexpr int rowsPerBlock = 64;

void addTo(ST_DISKALL_LIST &sums, const ST_DISKALL_LIST &row) {
    sums.l_dRead_B += row.l_dRead_B;
    sums.l_dWrite_B += row.l_dWrite_B;
    sums.l_dRead_N += row.l_dRead_N;
    sums.l_dWrite_N += row.l_dWrite_N;
    sums.l_dBusy += row.l_dBusy;
}

// A sum of rates and of refused ones, which count -1.0, may miss 0 by so little that a row would show it as -0.00.
double shownSum(double sum) {
    constexpr double firstShown = -0.005;
    return sum > firstShown ? notBelowZero(sum) : sum;
}

} // namespace

ST_DISKALL_LIST **DiskPushRows::start(int capacity) {
    clear();
    m_sums = {};
    if (m_rows == nullptr || m_capacity != capacity) {
        m_rows.reset();
        // NOLINTNEXTLINE(bugprone-sizeof-expression): the array holds pointers
        void *rows = std::calloc(static_cast<std::size_t>(capacity), sizeof(ST_DISKALL_LIST *));
        m_rows.reset(static_cast<ST_DISKALL_LIST **>(rows));
        m_capacity = capacity;
    }
    return m_rows.get();
}

// Rows come in blocks, so that the first pass over many disks does not allocate for each of them.
void DiskPushRows::add(const _ST_DISKIO &disk) {
    if (m_count >= m_capacity)
        return;
    const auto block = static_cast<std::size_t>(m_count / rowsPerBlock);
    if (block == m_blocks.size()) {
        std::unique_ptr<ST_DISKALL_LIST[]> rows(new (std::nothrow) ST_DISKALL_LIST[rowsPerBlock]);
        if (rows == nullptr)
            return;
        m_blocks.push_back(std::move(rows));
    }
    ST_DISKALL_LIST &row = m_blocks[block][static_cast<std::size_t>(m_count % rowsPerBlock)];
    std::strcpy(row.l_strDEVname, disk.l_strDEVname);
    row.l_dRead_B = disk.l_dRead_B;
    row.l_dWrite_B = disk.l_dWrite_B;
    row.l_dRead_N = disk.l_dRead_N;
    row.l_dWrite_N = disk.l_dWrite_N;
    row.l_dBusy = disk.l_dBusy;
    addTo(m_sums, row);
    m_rows.get()[m_count++] = &row;
}

void DiskPushRows::finish() {
    for (double *sum : {&m_sums.l_dRead_B, &m_sums.l_dWrite_B, &m_sums.l_dRead_N, &m_sums.l_dWrite_N, &m_sums.l_dBusy})
        *sum = shownSum(*sum);
    const auto blocks = static_cast<std::size_t>(m_count + rowsPerBlock - 1) / rowsPerBlock;
    if (blocks < m_blocks.size())
        m_blocks.resize(blocks);
}

} // namespace zel
