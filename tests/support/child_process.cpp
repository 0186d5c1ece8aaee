#include "support/child_process.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

extern char** environ;

std::string vrx_test_driver(const std::string& name) { return std::string(VRX_TEST_BINARY_DIR) + "/" + name; }

namespace {
bool controlled_variable(const char* entry) {
  static const char* const prefixes[] = {"VRX_", "OMP_", "KMP_", "A_MPI_", "OMPI_", "MPI_LOCALNRANKS"};
  for (const char* p : prefixes)
    if (std::strncmp(entry, p, std::strlen(p)) == 0) return true;
  return false;
}
}  // namespace

vrx_child_result vrx_test_run(const std::string& program, const std::vector<std::string>& args,
                              const std::vector<std::pair<std::string, std::string>>& env) {
  std::vector<std::string> env_strings;
  for (char** e = environ; *e; ++e)
    if (!controlled_variable(*e)) env_strings.emplace_back(*e);
  for (const auto& [name, value] : env) env_strings.push_back(name + "=" + value);
  std::vector<char*> envp;
  for (auto& s : env_strings) envp.push_back(s.data());
  envp.push_back(nullptr);

  std::vector<std::string> argv_strings{program};
  argv_strings.insert(argv_strings.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (auto& s : argv_strings) argv.push_back(s.data());
  argv.push_back(nullptr);

  vrx_child_result result;
  int pipe_fds[2];
  if (pipe(pipe_fds) != 0) return result;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipe_fds[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, pipe_fds[0]);
  posix_spawn_file_actions_addclose(&actions, pipe_fds[1]);
  pid_t pid = -1;
  const int spawned = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  close(pipe_fds[1]);
  if (spawned != 0) {
    close(pipe_fds[0]);
    result.output = "spawn failed: " + program;
    return result;
  }
  char chunk[4096];
  ssize_t got;
  while ((got = read(pipe_fds[0], chunk, sizeof chunk)) > 0) result.output.append(chunk, static_cast<size_t>(got));
  close(pipe_fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  result.exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}
