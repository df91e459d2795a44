#include "ScanCommand.h"

#include "CompatibleScan.h"
#include "FontCommand.h"
#include "ModernScan.h"

int runScan(const Options& options, Output& output, Console& console) {
    if (options.reading == Reading::eCompatible) {
        CompatibleScan report;
        return runFontCommand(options, report, output, console);
    }
    ModernScan report(options.unfolded);
    return runFontCommand(options, report, output, console);
}
