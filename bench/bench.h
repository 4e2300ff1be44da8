#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

// One pass of a piece of work: prepares what it needs, then gives what counts, in seconds or bytes.
using Pass = std::function<double()>;

// The library's work set against the bare system calls that it cannot do without.
struct Comparison {
    std::string name;
    std::string against;
    double limit;  // highest ratio of the medians that is good
    Pass ours;
    Pass bare;
};

// Where the finished product lies: the folder named by the environment variable PRODRM_DIST.
std::wstring DistFolder();

// Text of ASCII characters, for the files that the benchmarks write.
std::string Narrow(const std::wstring& text);

// Seconds that `work` takes by the performance counter.
double Seconds(const std::function<void()>& work);

// Seconds that a program takes from its start to its end; ends this process if it fails. Its output is dropped.
double ProgramSeconds(const std::wstring& commandLine);

// Copy of the finished product, less log.dll, in `folder`; the library is loaded from there.
class Library {
public:
    explicit Library(const std::wstring& folder);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    template <typename Function>
    Function Export(const char* name) const {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(m_module, name)));
    }

    HMODULE Module() const { return m_module; }

private:
    HMODULE m_module;
};

void CopyDist(const std::wstring& folder);
void PackDocument(const std::wstring& folder, const std::wstring& document);

// The comparisons, by subject.
void AddListing(std::vector<Comparison>& comparisons);
void AddPrimitives(std::vector<Comparison>& comparisons);
void AddRemoval(std::vector<Comparison>& comparisons);
void AddPlan(std::vector<Comparison>& comparisons);
void AddLint(std::vector<Comparison>& comparisons);
void AddSnapshot(std::vector<Comparison>& comparisons);

// Parts of this program that run as a process of their own; null if `name` is none of them.
using Part = int (*)(const std::wstring& argument);
Part FindPart(const std::wstring& name);
int WalkCatalogue(const std::wstring& file);
int MeasureRemovalMemory(const std::wstring& folder);
int MeasurePlanMemory(const std::wstring& folder);

// Ends the process with a message: a benchmark that did not do its work measures nothing.
void Require(bool condition, const char* what);
