// The commands, one source file each. Each adds itself to the program; its work sets the exit status when it is not 0.
#pragma once

namespace CLI {
class App;
}

namespace Vectab {

void AddInfo(CLI::App& program, int& exitStatus);
void AddStates(CLI::App& program, int& exitStatus);
void AddCheck(CLI::App& program, int& exitStatus);
void AddConvert(CLI::App& program, int& exitStatus);
void AddPlot(CLI::App& program, int& exitStatus);

}  // namespace Vectab
