# Prints the record numbers of a tag in the order of its keys: index_order.pl FILE.cdx TAG
use strict;
use warnings;
use XBase::Index;

my ($file, $tag) = @ARGV;
# Only the record numbers are wanted, so that every key is taken for text.
my $index = XBase::Index->new($file, 'tag' => $tag, 'type' => 'C')
    or die XBase->errstr, "\n";
$index->prepare_select or die "the tag cannot be walked\n";
while (my ($key, $record) = $index->fetch) {
    print "$record\n";
}
