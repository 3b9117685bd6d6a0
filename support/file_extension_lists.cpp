#include "support/file_extension_lists.h"

const file_extension_list image_file_extensions{{
    ".001",
    "",
    ".2bp",
    ".36",
    ".411",
    "",
    "",
    ".73i",
    ".8pbs .8xi",
    "",
    ".aai .accountpicture-ms .acorn .acr .afphoto .agif .ai .aic .ani .apd .apng .aps .apx .art .artwork .arw .arw "
    ".ase .aseprite .astc .avci .avcs .avif .avifs .avs .awd",
    ".b16 .bay .bif .blp .blz .bm2 .bmc .bmf .bmp .bmx .bmz .bpg .brt .bss .btf .btif .bw",
    ".c4 .cal .cals .cam .can .ccx .cd5 .cdg .cdr .cdt .cel .cgm .cimg .cin .cit .clip .cmx .cmyk .cmyka .colz "
    ".cpbitmap .cpc .cpd .cpg .cps .cpt .cpx .cr2 .cr2 .cr3 .crw .crw .cs1 .ct .cur .cut .cv5 .cvg .cvi .cvs",
    ".dc2 .dc6 .dcm .dcr .dcr .dcs .dcx .ddb .dds .dgn .dia .dib .dic .dicom .djv .djvu .dm3 .dmi .dng .dng .dpx "
    ".drle .drw .drz .dwf .dwg .dxb .dxf",
    ".ecw .eip .emf .emf .emz .epdf .epi .eps .eps .epsf .epsi .ept .erf .erf .exr",
    ".farbfeld .fax .fbm .fff .fh10 .fh11 .fh7 .fh8 .fh9 .fif .fig .fit .fits .flif .fpx .fst .fts .fxg",
    ".g3 .g3f .g3n .g4 .gbr .gem .gfie .ggr .gif .gih .gim .gmbck .gmspr .gp4 .gpr .gro .grob .gry",
    ".hci .hdp .hdr .hej2 .hpgl .hpi .hpl .hrf .hrz .hsj2 .hvif",
    ".ica .icb .icl .icn .icns .ico .icon .icpr .ief .iff .iiq .ilbm .img .imj .int .ioca .ipx .itc .itc2 .ithmb .iwi",
    ".j .j2c .j2k .jb2 .jbf .jbg .jbig .jbig2 .jbmp .jbr .jfi .jfif .jhc .jia .jif .jiff .jls .jng .jp2 .jpc .jpd "
    ".jpe .jpeg .jpf .jpg .jpg2 .jpgm .jph .jphc .jpm .jps .jpx .jtif .jxl .jxr .jxra .jxrs .jxs .jxsc .jxsi .jxss",
    ".k25 .kap .kdc .kdc .kdk .kfx .kic .kodak .kra .ktx .ktx2",
    ".lbm .lif .ljp .lrpreview .lsm .lss",
    ".mac .mag .max .mbm .mdi .mef .mef .met .mfw .mgs .mic .miff .mix .mmr .mng .mos .mos .mpf .mpo .mrc .mrw .mrw "
    ".mrxs .msk .msp .mtv .mvg",
    ".ncd .ndpi .nef .nef .neo .nii .nitf .nlm .nol .nrrd .nrw .ntf",
    ".oaz .oc3 .oc4 .oc5 .oci .odg .odi .ora .orf .orf .ota .otb .otg .oti .ozb .ozj .ozt",
    ".pac .palm .pam .pan .pano .pap .pat .pbm .pbs .pc1 .pc2 .pc3 .pcd .pcl .pcs .pct .pcx .pdd .pdn .pds .pe4 .pef "
    ".pef .pes .pfi .pfm .pfs .pgb .pgf .pgm .pgx .pi .pi1 .pi2 .pi3 .pi4 .pi5 .pi6 .pic .picnc .picon .pict .pict1 "
    ".pict2 .piskel .pix .pixadex .pjpeg .pjpg .plt .pm .pmg .png .pni .pnm .pns .pnt .pntg .pp4 .pp5 .ppf .ppm "
    ".procreate .prw .ps .psb .psd .psdx .psf .psp .pspbrush .pspimage .pti .ptif .ptx .pvr .pwp .px .pxd .pxm .pxr "
    ".pxz .pyxel .pza .pzp .pzs",
    ".qif .qoi .qptiff .qti .qtif",
    ".raf .raf .ras .rast .raw .raw .rgb .rgba .rgbe .rgf .rif .riff .rix .rlc .rle .rli .rs .rsr .rvg .rw2 .rw2 .rwl "
    ".rwz",
    ".s1g .s1j .s1n .s2mv .sai .sar .scg .sci .scp .sct .scu .sda .sdr .sff .sfw .sgi .sgif .shg .shp .sid .sig .sjp "
    ".sjpg .sk .sk1 .sk2 .sketch .sketchpad .skitch .skm .sld .smp .snag .snagx .spe .spiff .spn .spng .spp .spr "
    ".sprite .sprite2 .spu .sr .sr2 .sr2 .srf .srf .srw .sumo .sun .suniff .sup .svg .svgz .svm .svs .sxd",
    ".tap .targa .tbn .tex .tfx .tg4 .tga .thm .thumb .tif .tif .tiff .tim .tjp .tlg .tm2 .tn .tn1 .tn2 .tn3 .tny "
    ".tub .tvg",
    ".ufo .uga .ugoira .urt .usertile-ms .uvg .uvi .uvvg .uvvi .uyvy",
    ".vda .vff .vic .vicar .viff .vml .vmu .vpe .vrimg .vrphoto .vsd .vsdx .vsi .vss .vst .vtf",
    ".wb1 .wbc .wbd .wbm .wbmp .wbp .wbz .wdp .webp .wi .wic .wmf .wmp .wmz .wpb .wpg .wvl",
    ".x3f .x3f .xar .xara .xbm .xcf .xif .xim .xpm .xv .xwd .xyz .xyze",
    ".y .yuv",
    ".zgm .zif",
}};

const file_extension_list audio_file_extensions{{
    "",
    "",
    ".2sf .2sflib",
    ".3ga",
    ".4mp",
    "",
    ".669 .6cm",
    "",
    ".8cm .8med .8svx",
    "",
    ".a2m .a52 .aa .aa3 .aac .aax .aaxc .ab .abc .abm .ac3 .acd .acd-bak .acd-zip .acm .acn .adpcm .ads .adts .adv "
    ".adx .aea .afc .ahx .aif .aif .aifc .aifc .aiff .aiff .aiffc .aix .akp .al .alac .alaw .alc .als .amd .amf .amr "
    ".ams .amxd .amz .aob .aon .apc .ape .apf .apl .asf .ast .at3 .at9 .atrac .au .au .aud .aup .aup3 .awb .axa .ay",
    ".b4s .band .bcstm .bcwav .bfstm .bfwav .bidule .bnk .bonk .brr .brstm .bwav .bwf .bwg .bww",
    ".c01 .caf .caff .cda .cdda .cel .ckb .cmf .cpr .csd .cvsd .cwb .cwp",
    ".d00 .dawproject .dbm .dcf .dct .dewf .dfc .dff .dig .digi .dls .dm .dmf .dra .ds .ds2 .dsf .dsm .dsp .dss .dst "
    ".dtm .dts .dtshd .dvf .dw .dwd",
    ".e4b .eac3 .eas .ec3 .ecelp4800 .ecelp7470 .ecelp9600 .efa .efe .efk .efs .emy .evc .evrc .exs",
    ".f32 .f4a .f4b .f64 .far .far .fc13 .fc14 .flac .flm .flp .frg .fsb .fsc .fsm .ftm .fzb .fzf .fzv",
    ".g721 .g723 .g726 .g729 .gbs .gig .gp .gp3 .gp4 .gp5 .gpk .gpx .groove .gsf .gsflib .gsm .gtp .gym",
    ".hca .hcom .hes .hma .hmi .hmp .hps .hsb .hvl",
    ".iaa .iff .igp .iklax .ima4 .imf .imy .ins .ircam .isma .it .it .iti .itls .its",
    ".j2b .jam .jo .jo-7z .jspf",
    ".k25 .k26 .kar .kar .kfn .kit .kmp .koz .krz .ksc .ksd .ksf .kss .kt3",
    ".l16 .la .loas .lof .logic .logicx .lqt .lso .lvp .lwv",
    ".m15 .m3u .m3u .m3u8 .m4a .m4a .m4b .m4b .m4p .m4r .ma1 .mdl .med .mgv .mhas .mid .mid .midi .midi .minigsf "
    ".minincsf .minipsf .minipsf2 .miniusf .mka .mlp .mmf .mmm .mmp .mmpz .mo3 .mod .mod .mogg .mp1 .mp2 .mp2 .mp3 "
    ".mp3 .mpa .mpc .mpega .mpga .mpp .mptm .mscx .mscz .msv .mt2 .mtf .mti .mtm .mtm .mu3 .muc .mus .musicxml .musx "
    ".mx3 .mx4 .mx5 .mxl .mxmf",
    ".nbs .ncw .nist .nkb .nkc .nki .nkm .nks .nkx .nml .nra .nsa .nsf .nsfe .nst .ntn .nus3bank .nvf .nwc",
    ".odm .ofr .oga .ogg .okt .okt .oma .omf .omg .opus .orc .ots .ove .oxm",
    ".pac .paf .pat .pbf .pca .pcast .pcg .pcm .peak .pek .phy .pk .pkf .pla .pls .pls .plx .pmd .pna .pno .psf .psf2 "
    ".psflib .psid .psm .psy .pt2 .pt3 .ptcop .ptf .ptm .pts .ptx .pvc",
    ".qcp .qsf .qsflib",
    ".ra .ra .ram .ram .raw .rax .rbs .rcy .record .rex .rf64 .rfl .rmf .rmi .rmi .rmj .rmm .rmt .rmx .rng .rns .rol "
    ".rpp .rsf .rsn .rso .rta .rti .rtm .rts .rx2",
    ".s3i .s3m .s3m .s3z .saf .sam .sap .sb .sbg .sbi .sbk .sc2 .sco .sd .sd2 .sd2f .sdat .sds .sdt .sdx .seq .ses "
    ".sesx .sf .sf2 .sfark .sfk .sfl .sfs .sfz .sgp .shn .sib .sid .slp .sma .smf .smp .snd .snd .sndh .sng .sns "
    ".sofa .sou .spc .sph .sppack .sprg .spx .sseq .stm .stw .stx .sty .sunvox .svd .svx .sw .swa .swav .sxt .syh "
    ".syn .syw .syx",
    ".tak .td0 .tfmx .thx .tm2 .tm8 .tmc .toc .trak .tta .tun .txw",
    ".u8 .uax .ub .ul .ulaw .ult .ulw .umx .uni .usf .usflib .ust .uva .uvva .uw .uwf",
    ".vag .val .vap .vb .vc3 .vdj .vgm .vgz .vlc .vmd .vmf .vmo .voc .voc .voi .vox .voxal .vpl .vpm .vpr .vpw .vqf "
    ".vrf .vsq .vsqx .vtx .vyf",
    ".w01 .w64 .wav .wav .wave .wax .wem .wfb .wfd .wfm .wfp .wma .wow .wpk .wpp .wproj .wrk .wtpl .wtpt .wus .wut "
    ".wv .wvc .wve .wvp .wwu .wyz",
    ".xa .xfs .xhe .xi .xm .xm .xmf .xmi .xms .xmz .xp .xrns .xsb .xsp .xspf .xt .xwb .xwm .xwma",
    ".ym .yookoo",
    ".zab .zgr .zpa .zpl .zvd .zvr",
}};

const file_extension_list video_file_extensions{{
    "",
    "",
    ".264",
    ".3g2 .3gp .3gp2 .3gpp .3gpp2 .3mm .3p2",
    "",
    "",
    ".60d",
    ".787",
    "",
    "",
    ".aaf .aep .aepx .aet .aetx .ajp .amc .amv .amx .anim .arcut .arf .asf .asf .asx .avb .avc .avchd .avd .avf .avi "
    ".avi .avm .avp .avs .avv .awlive .axm .axv",
    ".bdm .bdmv .bik .bix .bk2 .bmc .bmk .bs4 .bsf .bu .bvr .byu",
    ".camproj .camrec .camv .cine .clpi .cmmp .cmmtpl .cmproj .cmrec .cmv .cpi .crec .cvc .cx3",
    ".d2v .d3v .dash .dat .dav .dcr .ddat .dif .dir .divx .dmb .dmsd .dmsd3d .dmsm .dmsm3d .dmss .dmx .dpg .drc .dv "
    ".dv-avi .dv4 .dvb .dvdmedia .dvr .dvr-ms .dvx .dxr .dzm .dzt",
    ".edl .evo .exo .eye .eyetv",
    ".f4f .f4m .f4p .f4v .fbr .fcarch .fcp .fcproject .ffm .flc .fli .flic .flv .flv .fpdx .fvt",
    ".g2m .g64 .g64x .gifv .gl .gom .grasp .gts .gvi .gvp .gxf",
    ".h261 .h263 .h264 .h265 .hdmov .hkm",
    "",
    "",
    "",
    "",
    ".mov .mkv .mp4",
    "",
    "",
    "",
    "",
    "",
    "",
    "",
    "",
    "",
    "",
    "",
    "",
    "",
}};
