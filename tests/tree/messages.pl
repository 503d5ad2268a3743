#!/usr/bin/perl
# Holds docs/messages.md against the texts of the code: messages.pl ROOT
#
# Every message that the page quotes in the first column of a table is in the sources, and every text that the rooms
# below log or throw is on the page. Words that vary are in italics there, and joined in with + here, so messages are
# compared in the pieces between them.
use strict;
use warnings;
use utf8;
binmode(STDOUT, ':utf8');

my $root = shift // die "messages.pl ROOT\n";
my $page = Read("$root/docs/messages.md");
my $faults = 0;

# How statements begin that only a mistake of our own code, or of a program of ours, can bring about, or that are caught
# on the way. One that ends in a space is a whole text.
my @ours = (
    'There is no buffer format ',
    'The parameters of one effect can\'t be assigned to another.',
    'The block length of a transformer is out of range.',
    'The block doesn\'t fit the transformer.',
    'The output has blocks of no frames.',
    'The output has a bad sample rate: ',
    'A block of ',
    'The decoder has no output channel ',
    'A conversion (\'',
    'A format library has no ',
    'There was a mismatch between the number of ',
    'The expected sample rate was not found for a particular conversion',
    'A transform has a sample rate that a format library can\'t hold.',
    'Storage of impossible transforms is not supported.',
    'Only generated data can be stored for a composite conversion.',
    'Cannot refresh format library as there is pending data to write.',
    'Transform not found (erased).',
    'This format library cannot be updated in this way.',
    'No format registrar is available to store data.',
    'Failed to write a transform to a file. [',
    'The DFT size is not large enough to chain these transforms without overlap.',
    'The AdaptiveDirectSound framework may only be instantiated once.',
    'There is no output device ',
    'The device \'',
    'There are ',
    'There are fewer outputs than speakers.',
    'The output pipe \'',
    'Unknown ',
    'It appears that speakers have not yet been set up.',
    'Unable to find the application window handle.',
    'Channel names are unavailable for this standard format.',
    'The thread is already running.',
    'Exception in thread pool: ',
    'Unknown exception in thread pool.',
);

my (@statements, %texts);
for my $file (sort glob("$root/src/{*,*/*,*/*/*}/*.{cpp,h}")) {
    push @statements, Statements($file);
}
$texts{$_} = 1 for map { @{$_->{texts}} } @statements;
my $allTexts = join("\x01", '', sort(keys %texts), '');

# The page against the sources.
my $messages = 0;
my @abridged;  # the beginnings of messages that the page gives no end of
for my $line (split /\n/, $page) {
    my ($cell) = $line =~ /^\|(.*?)(?<!\\)\|/ or next;
    while ($cell =~ /"([^"]+)"/g) {
        my $message = $1;
        ++$messages;
        push @abridged, $1 if $message =~ /^(.{10,}) …$/;
        for my $piece (grep { /\pL{2}/ } split /\*[^*]+\*|…/, $message) {
            next if IsMadeOfTexts($piece);
            Fault("docs/messages.md has \"$message\", but no source has '$piece'.");
        }
    }
}
Fault("docs/messages.md quotes $messages messages only.") if $messages < 150;

# The sources against the page.
(my $plain = $page) =~ s/\*[^*\n]+\*/\x01/g;
my $checked = 0;
my $rooms = qr{src/(app/goaldll|goal|orb3core|pipe|platform|slib)/};
for my $statement (grep { $_->{file} =~ $rooms && $_->{kind} } @statements) {
    my $first = $statement->{texts}[0];
    next if grep { / $/ ? $first eq $_ : index($first, $_) == 0 } @ours, @abridged;
    for my $text (@{$statement->{texts}}) {
        (my $piece = $text) =~ s/^[\s'"]+|[\s'"]+$|\s*\[\d*\]?\s*$//g;
        next unless $piece =~ /\pL.*\s.*\pL/;
        ++$checked;
        next if index($plain, $piece) >= 0;
        Fault("$statement->{file} $statement->{kind} '$piece', which docs/messages.md doesn't have.");
    }
}
Fault("Only $checked texts were found in the sources.") if $checked < 150;
print "$messages messages of the page, $checked texts of the sources.\n";
exit($faults ? 1 : 0);

sub Fault {
    print "$_[0]\n";
    ++$faults;
}

sub Read {
    my ($name) = @_;
    open(my $in, '<:encoding(UTF-8)', $name) or die "$name: $!\n";
    local $/;
    return scalar <$in>;
}

# Whether `piece` is a stretch of one text, or of several that follow each other.
sub IsMadeOfTexts {
    my ($piece, $start) = (@_, '');
    return 1 if index($allTexts, $start . $piece) >= 0;
    for (my $length = length($piece) - 1; $length > 0; --$length) {
        next if index($allTexts, $start . substr($piece, 0, $length) . "\x01") < 0;
        return 1 if IsMadeOfTexts(substr($piece, $length), "\x01");
    }
    return 0;
}

# The statements of a source file that hold texts: where, whether they log or throw, and the texts, of which adjacent
# literals are joined.
sub Statements {
    my ($name) = @_;
    my (@literals, @found);
    my $code = '';
    my $source = Read($name);
    while ($source =~ m{\G(?:(//[^\n]*|/\*.*?\*/)|"((?:[^"\\\n]|\\.)*)"|('(?:[^'\\]|\\.)+')|([^"'/]+|.))}gs) {
        my ($comment, $literal, $character, $other) = ($1, $2, $3, $4);
        if (defined $literal) { push @literals, $literal; $code .= "\x01$#literals\x02"; }
        elsif (!defined $comment) { $code .= $character // $other; }
    }
    $code =~ s/^\s*#.*$//mg;
    $code =~ s/\x02\s*\x01/,/g;
    for my $statement (split /[;{}]/, $code) {
        my @texts;
        while ($statement =~ /\x01([\d,]+)\x02/g) {
            push @texts, join('', map { $literals[$_] } split /,/, $1) =~ s/\\(["'\\])/$1/gr;
        }
        next unless @texts;
        (my $file = $name) =~ s{^\Q$root\E/}{};
        my $kind = $statement =~ /\bthrow\b/ ? 'throws' : $statement =~ /\bWrite\(|\bExplained\(/ ? 'logs' : '';
        $kind ||= 'has' if $file =~ m{/orb3core/setup/|/goal/serverthread};  # whose texts are gathered first
        push @found, {file => $file, kind => $kind, texts => \@texts};
    }
    return @found;
}
