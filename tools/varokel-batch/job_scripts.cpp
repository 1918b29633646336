// SPDX-License-Identifier: BSD-3-Clause
// job_scripts.cpp -- a batch as a job array of Slurm, and as rules of Snakemake
#include "varokel-batch/job_scripts.h"

#include "files/base/plain_text.h"
#include "files/base/tool_error.h"
#include "files/batch/batch_plan.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace tools {

namespace fs = std::filesystem;

static constexpr long long spectra_per_shard = 1000; // a minute of work, against half a second
                                                     // that a task costs the queue
static constexpr long long most_tasks = 1000;        // MaxArraySize of Slurm is 1001 by default

struct batch_place {
    std::string run, program;
    long long shards;
};

static batch_place place_of(const job_options &options) {
    const batch_plan plan = read_plan(options.folder);
    std::error_code error;
    batch_place place = {fs::canonical(options.folder).string(),
                         fs::read_symlink("/proc/self/exe", error).string(), options.shards};
    if (options.shards > plan.blocks || options.shards < 0)
        throw tool_error(wrong_usage, "--shards " + std::to_string(options.shards) +
                                          ": expected 1 to " + std::to_string(plan.blocks));
    if (place.shards == 0)
        place.shards = std::clamp((plan.spectra + spectra_per_shard - 1) / spectra_per_shard, 1LL,
                                  std::min(most_tasks, plan.blocks));
    if (place.shards > most_tasks)
        throw tool_error(wrong_usage, "--shards " + std::to_string(place.shards) +
                                          ": many clusters take arrays of up to " +
                                          std::to_string(most_tasks) + " tasks; expected fewer");
    return place;
}

// As a word of a shell: nothing in it means anything.
static std::string shell_word(const std::string &text) {
    std::string word = "'";
    for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + "'";
}

static std::string python_text(const std::string &text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f) {
            char code[8];
            std::snprintf(code, sizeof code, "\\x%02x", byte);
            quoted += code;
            continue;
        }
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

// A limit as sbatch takes it: digits, colons and hyphens, and a letter for the unit of storage.
static std::string limit_word(const std::string &text, const char *option, const char *example) {
    static const char allowed[] = "0123456789:-KMGTkmgt";
    if (text.empty() || text.size() > 40 || text.front() == '-' ||
        text.find_first_not_of(allowed) != text.npos)
        throw tool_error(wrong_usage, std::string(option) + " " + shown_text(text) +
                                          ": expected such as " + example);
    return text;
}

std::string slurm_script(const job_options &options) {
    const batch_place place = place_of(options);
    const std::string memory = limit_word(options.memory, "--mem", "500M");
    const std::string time = limit_word(options.time, "--time", "01:00:00");
    const std::string n = std::to_string(place.shards);
    const std::string last = std::to_string(place.shards - 1);
    std::string script = "#!/bin/bash\n";
    script += "# Submit with: bash THIS_FILE. It hands itself to sbatch twice: as an array with a\n"
              "# task for each shard, and as the merge, which waits for them. A task that was\n"
              "# killed or requeued goes on where it was.\n";
    script += "set -euo pipefail\nexport TZ=UTC LC_ALL=C\n";
    script += "run=" + shell_word(place.run) + "\n";
    script += "batch=" + shell_word(place.program) + "\n";
    script += "logs=${run//%/%%}/logs # sbatch has signs of its own in names of logs\n";
    script += "case ${1:-submit} in\n";
    script += "submit)\n";
    script += "    mkdir -p \"$run/logs\"\n";
    script += "    shards=$(sbatch --parsable --job-name=varokel --array=0-" + last + "%" +
              std::to_string(std::max(1LL, options.at_once)) +
              " --ntasks=1 \\\n"
              "        --cpus-per-task=1 --mem=" +
              memory + " --time=" + time +
              " --requeue --open-mode=append \\\n"
              "        --output=\"$logs/shard_%a.out\" \"$0\" shard)\n";
    script += "    merge=$(sbatch --parsable --job-name=varokel-merge "
              "--dependency=\"afterok:$shards\" \\\n"
              "        --ntasks=1 --mem=" +
              memory + " --time=" + time + " --output=\"$logs/merge.out\" \"$0\" merge)\n";
    script += "    echo \"shards $shards merge $merge\"\n    ;;\n";
    script += "shard)\n";
    script += "    status=0\n";
    script += "    \"$batch\" run \"$run\" --shard \"$SLURM_ARRAY_TASK_ID/" + n +
              "\" --resume -j \"${SLURM_CPUS_PER_TASK:-1}\" \\\n"
              "        --scratch \"${SLURM_TMPDIR:-${TMPDIR:-/tmp}}\" || status=$?\n";
    script += "    # 1: some spectra could not be fitted, which is a result, too\n";
    script += "    [ \"$status\" -le 1 ]\n    ;;\n";
    script += "merge)\n";
    script += "    status=0\n";
    script += "    \"$batch\" merge \"$run\" --force || status=$?\n";
    script += "    [ \"$status\" -le 1 ]\n    ;;\n";
    script +=
        "*)\n    echo \"$0: expected submit, shard or merge\" >&2\n    exit 2\n    ;;\nesac\n";
    return script;
}

std::string snakemake_rules(const job_options &options) {
    const batch_place place = place_of(options);
    for (const std::string &name : {place.run, place.program}) {
        refuse_not_utf8(name, "the path"); // a rule file is Python, which is UTF-8
        // rules are lines, and so is the list of their files; braces name what rules fill in
        if (name.find_first_of("\n{}") != name.npos)
            throw tool_error(wrong_usage, "the path \"" + name +
                                              "\" has a line end or a brace in it, which rules "
                                              "cannot have; rename the folder");
    }
    const std::string n = std::to_string(place.shards);
    std::string rules;
    rules += "# snakemake --cores 2 -s THIS_FILE\n"
             "# On a cluster, version 7: snakemake --jobs 50 --latency-wait 30 --cluster \"sbatch "
             "--parsable --mem=500\"\n"
             "# version 8: snakemake --jobs 50 --latency-wait 30 --executor cluster-generic "
             "--cluster-generic-submit-cmd \"sbatch --parsable --mem=500\"\n";
    rules += "import os\n\n";
    rules += "RUN = " + python_text(place.run) + "\n";
    rules += "BATCH = " + python_text(place.program) + "\n";
    rules += "N = " + n + "\n";
    rules += "DONE = [os.path.join(RUN, \"shards\", \"%04d_of_%04d.done\" % (i, N)) for i in "
             "range(N)]\n\n";
    rules += "rule all:\n    input:\n        os.path.join(RUN, \"results.tsv\")\n\n";
    rules += "# Exit status 1: some spectra could not be fitted, which is a result, too.\n";
    rules += "rule shard:\n    input:\n        os.path.join(RUN, \"manifest.json\")\n"
             "    output:\n        os.path.join(RUN, \"shards\", \"{i}_of_%04d.done\" % N)\n"
             "    params:\n        number=lambda wildcards: int(wildcards.i)\n"
             "    shell:\n"
             "        \"{BATCH:q} run {RUN:q} --shard {params.number}/{N} --resume -j 1 || [ $? "
             "-eq 1 ]\"\n\n";
    rules += "rule merge:\n    input:\n        DONE\n"
             "    output:\n        os.path.join(RUN, \"results.tsv\")\n"
             "    shell:\n        \"{BATCH:q} merge {RUN:q} --force || [ $? -eq 1 ]\"\n";
    return rules;
}

} // namespace tools
