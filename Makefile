# The front door. Each target does all its own set-up on a fresh machine.

PRESET ?= dev

SCENE ?= call
SEED ?=
CALLS ?=
COUNT ?=
JOBS ?=
PREFIX ?= /usr/local
DESTDIR ?=
KEY ?=

.PHONY: help demo pictures run install package release mac mac-tests test test-long test-machine simulate mutate coverage bench lint check-docs analyze format install-dependencies clean

help:
	@echo 'make demo [SCENE=crash]    watch a call being recorded, in a private desktop session; with'
	@echo '                            SCENE=crash, a recorder that is killed and recovers its recording'
	@echo 'make test [PRESET=dev]     build and run every test (presets: dev, clang, release, asan, tsan)'
	@echo 'make test-long             the tests that take minutes, or need Firefox and Plasma beside them'
	@echo 'make test-machine          the built program with real kernel devices, in a virtual machine (minutes)'
	@echo 'make run                   run the recorder here, in this desktop session'
	@echo 'make install [PREFIX=/usr/local] [DESTDIR=]  build and install the programs, the desktop entry, icons, the'
	@echo '                            manual page and all else that belongs to them'
	@echo 'make package               build the Debian packages for the release that this machine runs'
	@echo 'make release [KEY=...]     the files of a release from the commit that is checked out, made twice and compared'
	@echo '                            byte for byte; signed with your key where one is named (docs/releasing.md)'
	@echo 'make mac                    build the macOS application here, without a Mac, and check what came out'
	@echo 'make mac-tests              the tests of the macOS adapters, over GNUstep and stand-ins'
	@echo 'make simulate [CALLS=10000] [SEED=7]  live through calls, crashes and power failures; with SEED'
	@echo '                            alone repeat that one world; with SURVEY=1 tell every broken rule'
	@echo 'make mutate [COUNT=200] [SEED=1] [JOBS=1]  plant so many single faults into the rules, each alone, and'
	@echo '                            print those that no test notices (an hour or more; goes on where it was'
	@echo '                            ended)'
	@echo 'make coverage              line coverage of the core by its own tests'
	@echo 'make pictures              take the pictures of docs/ from the program on a private desktop'
	@echo 'make bench [LONG=1]        print the measured claims; with LONG=1 also what takes half an hour'
	@echo 'make lint                  formatting, layering, documents, dead files and functions, the build with clang,'
	@echo '                            clang-tidy'
	@echo 'make check-docs            whether all that the documents name is there, and whether the commands that they show'
	@echo '                            do what they should'
	@echo 'make analyze               the path-sensitive analyzer over the sources (minutes)'
	@echo 'make format                format the sources'
	@echo 'make install-dependencies  install every Debian package that any target needs'

demo:
	@scripts/install-dependencies build demo
	@scripts/build dev brindle-recorder
	@scripts/demo build/dev/Sources/BrindleRecorderLinux/brindle-recorder demo-recordings $(SCENE)

pictures:
	@scripts/install-dependencies build demo test
	@scripts/build release brindle-recorder
	@scripts/pictures build/release/Sources/BrindleRecorderLinux/brindle-recorder

run:
	@scripts/install-dependencies build
	@scripts/build release brindle-recorder
	@build/release/Sources/BrindleRecorderLinux/brindle-recorder

install:
	@scripts/install-dependencies build
	@scripts/build release brindle-recorder
	@DESTDIR='$(DESTDIR)' cmake --install build/release --prefix '$(PREFIX)'

package:
	@scripts/install-dependencies build package
	@scripts/package

release:
	@scripts/install-dependencies build package
	@scripts/release $(if $(KEY),--key '$(KEY)')

test:
	@scripts/install-dependencies build demo test
	@scripts/build $(PRESET)
	@scripts/run-tests $(PRESET)

test-long:
	@scripts/install-dependencies build demo test long
	@scripts/build $(PRESET)
	@scripts/run-tests $(PRESET) --long

test-machine:
	@scripts/install-dependencies build machine
	@scripts/build $(PRESET) brindle-recorder
	@scripts/run-tests $(PRESET) --machine

mac:
	@scripts/install-dependencies build mac
	@scripts/mac

mac-tests:
	@scripts/install-dependencies build lint mac
	@scripts/mac-tests

simulate:
	@scripts/install-dependencies build test
	@scripts/build $(PRESET) Simulation
	@build/$(PRESET)/Tests/Simulation/Simulation $(if $(SEED),--seed $(SEED)) \
		$(if $(CALLS),--calls $(CALLS),$(if $(SURVEY),,$(if $(SEED),--replay))) \
		$(if $(SURVEY),--survey)

mutate:
	@scripts/install-dependencies build mutate
	@scripts/mutate $(if $(SEED),--seed $(SEED)) $(if $(COUNT),--count $(COUNT)) \
		$(if $(JOBS),--jobs $(JOBS))

coverage:
	@scripts/install-dependencies build test coverage
	@scripts/coverage

bench:
	@scripts/install-dependencies build demo test bench
	@scripts/build release CoreBenchmarks LaunchBenchmark DetectionBenchmarks brindle-recorder \
		clock-devices encode-movie convert-movie finish-recording measure
	@scripts/bench $(if $(LONG),--long)

lint:
	@scripts/install-dependencies build demo test lint
	@scripts/lint

check-docs:
	@scripts/install-dependencies build demo test
	@scripts/check-docs
	@scripts/build $(PRESET) brindle-recorder
	@ctest --preset $(PRESET) --no-tests=error --verbose -R '^EndToEnd.documented-commands$$'

analyze:
	@scripts/install-dependencies build lint
	@scripts/analyze

format:
	@scripts/install-dependencies lint
	@scripts/format

install-dependencies:
	@scripts/install-dependencies build demo test coverage lint

clean:
	rm -rf build
