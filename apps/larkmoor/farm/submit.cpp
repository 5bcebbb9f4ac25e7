#include "farm/submit.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace larkmoor {

std::string shellWord(const std::string& text) {
    std::string word = "'";
    for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + "'";
}

namespace {

/// Worker after worker may end early; the merge does what they left first.
std::string workLine(const Submission& s) {
    return fmt::format("{} work {} --wait", shellWord(s.command), shellWord(s.folder));
}

std::string mergeLine(const Submission& s) {
    return fmt::format("{} && {} merge {} -y -o {}", workLine(s), shellWord(s.command), shellWord(s.folder),
                       shellWord(s.film));
}

std::string jsonText(const std::string& text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string slurm(const Submission& s) {
    return fmt::format(R"(#!/bin/sh
# Hands the job over to Slurm: {workers} workers, then the merge. Tasks whose node fails are queued again.
# Options for sbatch, such as a partition, may follow: sh slurm.sh --partition=farm
set -eu
log={log}
workers=$(sbatch --parsable --job-name=larkmoor-work --array=0-{last} --requeue \
    --output="$log/work-%A-%a.log" --open-mode=append "$@" --wrap {work})
sbatch --parsable --job-name=larkmoor-merge --dependency="afterany:${{workers%%;*}}" --requeue \
    --output="$log/merge-%j.log" --open-mode=append "$@" --wrap {merge}
)",
                       fmt::arg("workers", s.workers), fmt::arg("last", s.workers - 1),
                       fmt::arg("log", shellWord(s.folder / "log")), fmt::arg("work", shellWord(workLine(s))),
                       fmt::arg("merge", shellWord(mergeLine(s))));
}

std::string gridEngine(const Submission& s) {
    return fmt::format(R"(#!/bin/sh
# Hands the job over to Grid Engine: {workers} workers, then the merge. Tasks whose node fails are run again.
# Options for qsub may follow: sh gridengine.sh -q all.q
set -eu
log={log}
workers=$(qsub -terse -N larkmoor-work -t 1-{workers} -r y -j y -o "$log" -b y "$@" /bin/sh -c {work})
qsub -terse -N larkmoor-merge -hold_jid "${{workers%%.*}}" -r y -j y -o "$log" -b y "$@" /bin/sh -c {merge}
)",
                       fmt::arg("workers", s.workers), fmt::arg("log", shellWord(s.folder / "log")),
                       fmt::arg("work", shellWord(shellWord(workLine(s)))),
                       fmt::arg("merge", shellWord(shellWord(mergeLine(s)))));
}

std::string parallel(const Submission& s) {
    return fmt::format(R"(#!/bin/sh
# {workers} workers by GNU parallel, then the merge on this machine. Hosts may follow: sh parallel.sh -S one,two,:
set -eu
seq {workers} | parallel "$@" --jobs 1 --retries 3 --joblog {log} -n0 {work}
{merge}
)",
                       fmt::arg("workers", s.workers), fmt::arg("log", shellWord(s.folder / "log" / "parallel.log")),
                       fmt::arg("work", shellWord(workLine(s))), fmt::arg("merge", mergeLine(s)));
}

std::string kubernetes(const Submission& s) {
    const auto job = [&](const char* name, std::int64_t pods, const std::string& line) {
        return fmt::format(R"(apiVersion: batch/v1
kind: Job
metadata:
  name: larkmoor-{name}
spec:
  completionMode: Indexed
  completions: {pods}
  parallelism: {pods}
  backoffLimit: {retries}
  template:
    spec:
      restartPolicy: Never
      containers:
        - name: larkmoor
          image: {image}
          command: ["/bin/sh", "-c", {line}]
          volumeMounts:
            - {{name: shared, mountPath: {folder}}}
      volumes:
        - name: shared
          persistentVolumeClaim: {{claimName: larkmoor}}
)",
                           fmt::arg("name", name), fmt::arg("pods", pods), fmt::arg("retries", 3 * pods),
                           fmt::arg("image", jsonText(s.image)), fmt::arg("line", jsonText(line)),
                           fmt::arg("folder", jsonText(s.folder.parent_path())));
    };
    return "# kubectl apply -f kubernetes.yaml; the volume's claim, here larkmoor, holds the job, the clips and the "
           "film.\n" +
           job("work", s.workers, workLine(s)) + "---\n" + job("merge", 1, mergeLine(s));
}

std::string openCue(const Submission& s) {
    return fmt::format(R"(# python3 opencue.py, where OpenCue's outline is installed: {workers} workers, then the merge.
import outline
import outline.cuerun
from outline.modules.shell import Shell

job = outline.Outline("larkmoor", frame_range="1-{workers}")
work = Shell("work", command=["/bin/sh", "-c", {work}], range="1-{workers}", chunk=1)
merge = Shell("merge", command=["/bin/sh", "-c", {merge}], range="1", chunk=1)
job.add_layer(work)
job.add_layer(merge)
merge.depend_all(work)
outline.cuerun.launch(job, use_pycuerun=False)
)",
                       fmt::arg("workers", s.workers), fmt::arg("work", jsonText(workLine(s))),
                       fmt::arg("merge", jsonText(mergeLine(s))));
}

} // namespace

const std::vector<Engine>& engines() {
    static const std::vector<Engine> all{{"slurm", "slurm.sh", slurm},
                                         {"gridengine", "gridengine.sh", gridEngine},
                                         {"kubernetes", "kubernetes.yaml", kubernetes},
                                         {"opencue", "opencue.py", openCue},
                                         {"parallel", "parallel.sh", parallel}};
    return all;
}

} // namespace larkmoor
