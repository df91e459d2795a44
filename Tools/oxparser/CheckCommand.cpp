#include "CheckCommand.h"

#include "CompatibleCheck.h"
#include "FontCommand.h"
#include "ModernCheck.h"

int runCheck(const Options& options, Output& output, Console& console) {
    if (options.reading == Reading::eCompatible) {
        CompatibleCheck report;
        return runFontCommand(options, report, output, console);
    }
    ModernCheck report;
    return runFontCommand(options, report, output, console);
}
