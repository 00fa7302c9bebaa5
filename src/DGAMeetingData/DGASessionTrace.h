#pragma once

class DGASessionRecord;

/// Appends the eleven session parameters to the trace. Any thread.
void dgaSaveSessionTrace(const DGASessionRecord& record);
