"""Reading and writing sound files through libsndfile (by way of soundfile), in the
(channels, frames) layout the effects take, as the command line reads and writes them: every
container it writes, integer samples rounded to the nearest step with samples beyond full
scale clipped and counted, no time stamp in the file (the same audio gives the same bytes)."""

import errno
import io
import os
import warnings

import numpy as np
import soundfile

from . import _audio

# The sample formats of the command line's --format, as libsndfile's subtypes.
FORMATS = {"float": "FLOAT", "double": "DOUBLE", "pcm16": "PCM_16", "pcm24": "PCM_24",
           "pcm32": "PCM_32", "pcm8": "PCM_S8", "u8": "PCM_U8"}
# The encoders of the compressed containers, chosen by format=None.
ENCODERS = {"vorbis": "VORBIS", "opus": "OPUS", "mp3": "MPEG_LAYER_III"}

# Containers by file name extension: libsndfile's, and the names people use beside them.
CONTAINERS = {
    "wav": "WAV", "wave": "WAV", "rf64": "RF64", "w64": "W64", "caf": "CAF", "flac": "FLAC",
    "aiff": "AIFF", "aif": "AIFF", "aifc": "AIFF", "au": "AU", "snd": "AU", "ogg": "OGG",
    "oga": "OGG", "opus": "OGG", "mp3": "MP3", "paf": "PAF", "svx": "SVX", "nist": "NIST",
    "voc": "VOC", "sf": "IRCAM", "mat": "MAT5", "pvf": "PVF", "htk": "HTK", "sds": "SDS",
    "avr": "AVR", "wve": "WVE",
}

# With format=None: the first of these the container holds (so FLAC gets 24 bits).
DEFAULT_ORDER = ("float", "pcm24", "pcm16", "vorbis", "opus", "mp3")

# Integer formats: the value of full scale, the NumPy type handed to libsndfile, and the shift
# that puts the sample in that type's top bits (libsndfile keeps the top bits).
INTEGER = {"pcm16": (2.0**15, np.int16, 0), "pcm24": (2.0**23, np.int32, 8),
           "pcm32": (2.0**31, np.int32, 0), "pcm8": (2.0**7, np.int16, 8),
           "u8": (2.0**7, np.int16, 8)}

# libsndfile's command that turns the PEAK chunk of float files on or off (sndfile.h).
SFC_SET_ADD_PEAK_CHUNK = 0x1050

DITHERS = ("none", "triangular")
# The triangular dither's noise comes from a generator with this seed, so the same audio gives
# the same file.
DITHER_SEED = 29


def container_of(path):
    extension = os.path.splitext(os.fspath(path))[1].lower().lstrip(".")
    if extension not in CONTAINERS:
        raise ValueError(f"{os.fspath(path)!r}: cannot write '.{extension}' files; use one of "
                         f"{', '.join('.' + name for name in CONTAINERS)}")
    return CONTAINERS[extension], extension


def _fits(container, subtype, sample_rate, channels):
    """Whether libsndfile writes this container with these samples, tried in memory."""
    try:
        with soundfile.SoundFile(io.BytesIO(), "w", sample_rate, channels, subtype,
                                 format=container):
            return True
    except (ValueError, soundfile.LibsndfileError):
        return False


def choose_format(path, format, sample_rate, channels):
    """(container, subtype, format name) for a file of this name, as the command line
    chooses: the format asked for, or the first of DEFAULT_ORDER the container holds."""
    container, extension = container_of(path)
    names = {**FORMATS, **ENCODERS}
    if extension == "opus" and format not in (None, "opus"):
        raise ValueError(f"{os.fspath(path)!r}: .opus files hold Opus, not {format}")
    if format is None:
        # An .opus file is Ogg Opus or nothing: never Vorbis under that name.
        order = ("opus",) if extension == "opus" else DEFAULT_ORDER
        for name in order:
            if _fits(container, names[name], sample_rate, channels):
                return container, names[name], name
        raise ValueError(f"{os.fspath(path)!r}: {container} files cannot hold {channels} "
                         f"channels at {sample_rate} Hz")
    if format not in names:
        raise ValueError(f"format must be one of {', '.join(names)} (or None for the "
                         f"container's own), not {format!r}")
    if not _fits(container, names[format], sample_rate, channels):
        raise ValueError(f"{os.fspath(path)!r}: {container} files cannot hold {format} samples "
                         f"with {channels} channels at {sample_rate} Hz")
    return container, names[format], format


class SampleConverter:
    """Turns float32 (channels, frames) audio into what libsndfile gets for a sample format:
    integers rounded to the nearest step (optionally after triangular dither), clipped at full
    scale; counts the samples beyond full scale and those that are not numbers."""

    def __init__(self, format, dither):
        if dither not in DITHERS:
            raise ValueError(f"dither must be one of {', '.join(DITHERS)}, not {dither!r}")
        self.format = format
        self.dither = np.random.default_rng(DITHER_SEED) if dither == "triangular" else None
        self.clipped = 0
        self.peak = 0.0
        self.not_numbers = 0

    def frames(self, planar):
        """The samples to hand to soundfile, as (frames, channels)."""
        finite = np.isfinite(planar)
        if not finite.all():
            self.not_numbers += int(planar.size - np.count_nonzero(finite))
        if self.format not in INTEGER:
            return planar.T if self.format != "double" else planar.T.astype(np.float64)
        full_scale, kind, shift = INTEGER[self.format]
        samples = np.where(finite, planar, 0.0).astype(np.float64)
        beyond = np.abs(samples) > 1.0
        if beyond.any():
            self.clipped += int(np.count_nonzero(beyond))
            self.peak = max(self.peak, float(np.abs(samples[beyond]).max()))
        scaled = samples * full_scale
        if self.dither is not None:
            scaled += self.dither.random(scaled.shape) - self.dither.random(scaled.shape)
        steps = np.clip(np.rint(scaled), -full_scale, full_scale - 1).astype(kind)
        return (steps << kind(shift) if shift else steps).T

    def warn(self, path, stacklevel):
        """Warns, as the command line does, of clipped samples and of samples not numbers;
        stacklevel as warnings.warn takes it, from the caller of this method."""
        if self.clipped:
            decibels = 20 * np.log10(self.peak)
            warnings.warn(f"{os.fspath(path)}: {self.clipped} samples beyond full scale were "
                          f"clipped (peak {self.peak:.3f}, {decibels:+.1f} dBFS)",
                          stacklevel=stacklevel + 1)
        if self.not_numbers:
            kept = "written as 0" if self.format in INTEGER else "written as they are"
            warnings.warn(f"{os.fspath(path)}: {self.not_numbers} samples were not numbers "
                          f"(NaN or infinite), {kept}", stacklevel=stacklevel + 1)


def _check_readable(path):
    """Raises FileNotFoundError, PermissionError or IsADirectoryError as opening would."""
    with open(path, "rb"):
        pass


def _reserve(path):
    """Opens the destination for writing without truncating it, so that a missing folder or
    a file or folder without write permission raises FileNotFoundError or PermissionError
    before anything is written. A write-protected file is refused even where the process could
    write it (as root), as the command line refuses it. Returns whether the file was there
    before."""
    existed = os.path.lexists(path)
    if existed and os.path.isfile(path) and not os.stat(path).st_mode & 0o222:
        raise PermissionError(errno.EACCES, "the file is write-protected", os.fspath(path))
    os.close(os.open(path, os.O_WRONLY | os.O_CREAT, 0o666))
    return existed


def _without_peak_chunk(file):
    """No PEAK chunk: it carries a time stamp, and the same audio should give the same bytes."""
    soundfile._snd.sf_command(file._file, SFC_SET_ADD_PEAK_CHUNK, soundfile._ffi.NULL, 0)


def read(path, *, channels_first=True):
    """(audio, sample_rate): a sound file libsndfile reads (WAV, FLAC, AIFF, Ogg, MP3, ...) as
    float32 (channels, frames), or (frames, channels) with channels_first=False, and its rate
    in Hz. A missing or unreadable file raises FileNotFoundError or PermissionError."""
    with AudioFile(path) as file:
        return file.read(channels_first=channels_first), file.samplerate


def write(path, audio, sample_rate, format=None, *, dither="none", channels_first=None):
    """Writes audio ((channels, frames), (frames, channels) as channels_first says, or 1-D
    mono) to a file whose container follows its name (.wav, .flac, .ogg, .opus, .mp3, ...).

    format is the command line's --format: "float" (exactly the float32 samples), "double",
    "pcm16", "pcm24", "pcm32", "pcm8", "u8", or an encoder ("vorbis", "opus", "mp3"); None
    takes the container's own: float where it holds float, else 24-bit (FLAC), else its
    encoder. Integer samples are rounded to the nearest step and clipped at full scale; a
    warning counts the clipped samples (and any that are not numbers). dither="triangular"
    adds triangular noise of one step before rounding (from a fixed seed); "none" gives the
    exact rounding. A missing folder or a destination without write permission raises
    FileNotFoundError or PermissionError, and nothing is written."""
    array, _ = _audio.planar(audio, channels_first)
    file = AudioFile(path, "w", samplerate=sample_rate, channels=array.shape[0], format=format,
                     dither=dither)
    try:
        file._write_planar(array)
    finally:
        file._finish(stacklevel=3)


class AudioFile:
    """A sound file read or written in chunks, as soundfile's SoundFile, in the package's
    layout and with the command line's conversions.

        with ostrana.AudioFile("in.flac") as source, ostrana.AudioFile(
                "out.flac", "w", samplerate=source.samplerate,
                channels=source.channels) as sink:
            for block in source:                  # (channels, frames) float32 blocks
                sink.write(chain(block, source.samplerate, reset=False))
            sink.write(chain.flush(source.samplerate))

    Reading: frames, samplerate, channels, format; read(frames=-1) and blocks(blocksize) (also
    iteration, by blocks of blocksize frames). Writing: mode "w" with samplerate and channels,
    format and dither as write takes them; write(audio). Warnings of clipping come when the
    file is closed."""

    def __init__(self, path, mode="r", *, samplerate=None, channels=None, format=None,
                 dither="none", blocksize=65536):
        self.path = path
        self.blocksize = _audio.count(blocksize, "blocksize")
        self._converter = None
        self._created = False
        if mode == "r":
            _check_readable(path)
            try:
                self._file = soundfile.SoundFile(path)
            except soundfile.LibsndfileError as error:
                raise ValueError(f"{os.fspath(path)}: not a sound file libsndfile reads "
                                 f"({error.error_string})") from None
            self.format = self._file.subtype
        elif mode == "w":
            if samplerate is None or channels is None:
                raise TypeError('AudioFile(path, "w") needs samplerate and channels')
            rate = _audio.count(samplerate, "samplerate")
            count = _audio.count(channels, "channels")
            container, subtype, self.format = choose_format(path, format, rate, count)
            self._converter = SampleConverter(self.format, dither)
            self._created = not _reserve(path)
            try:
                self._file = soundfile.SoundFile(path, "w", rate, count, subtype,
                                                 format=container)
            except BaseException:
                self._forget()
                raise
            _without_peak_chunk(self._file)
        else:
            raise ValueError(f'mode must be "r" or "w", not {mode!r}')

    def _forget(self):
        if self._created:
            os.unlink(self.path)
            self._created = False

    @property
    def samplerate(self):
        """The sample rate in Hz."""
        return self._file.samplerate

    @property
    def channels(self):
        """The number of channels."""
        return self._file.channels

    @property
    def frames(self):
        """The frames in the file: all of them when reading, those written so far when
        writing."""
        return self._file.frames

    def read(self, frames=-1, *, channels_first=True):
        """The next frames (all that are left for -1) as float32 (channels, frames), or
        (frames, channels) with channels_first=False."""
        block = self._file.read(frames, dtype="float32", always_2d=True)
        return np.ascontiguousarray(block.T) if channels_first else block

    def blocks(self, blocksize=None, *, channels_first=True):
        """The rest of the file in blocks of blocksize frames (the last one shorter)."""
        size = self.blocksize if blocksize is None else _audio.count(blocksize, "blocksize")
        frames_axis = 1 if channels_first else 0
        while (block := self.read(size, channels_first=channels_first)).shape[frames_axis]:
            yield block

    def __iter__(self):
        return self.blocks()

    def write(self, audio, *, channels_first=None):
        """Appends audio ((channels, frames), (frames, channels) or 1-D mono)."""
        array, _ = _audio.planar(audio, channels_first)
        if array.shape[0] != self.channels:
            raise ValueError(f"{os.fspath(self.path)} has {self.channels} channels; this audio "
                             f"has {array.shape[0]}")
        self._write_planar(array)

    def _write_planar(self, array):
        self._file.write(self._converter.frames(array))

    def close(self):
        """Finishes the file (a written one is complete only then) and warns of clipping."""
        self._finish(stacklevel=3)

    def _finish(self, stacklevel):
        # stacklevel: the frames from here to the code the warnings name.
        if self._file.closed:
            return
        self._file.close()
        if self._converter is not None:
            self._converter.warn(self.path, stacklevel=stacklevel)

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self._finish(stacklevel=3)

    def __repr__(self):
        mode = "w" if self._converter is not None else "r"
        return (f"AudioFile({os.fspath(self.path)!r}, {mode!r}: {self.channels} channels at "
                f"{self.samplerate} Hz, {self.frames} frames, {self.format})")
